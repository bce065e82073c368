#include "service/FoamCutter.h"

#include "contract/JobFolder.h"
#include "contract/OfferedMachinesCatalog.h"
#include "tavam/Platform.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/Path.h"

#include <QByteArray>

#include <boost/uuid/string_generator.hpp>

namespace Example {

using namespace MachineService;

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

/// A PNG; hosts show it beside the command.
std::vector<std::uint8_t> GetIcon()
{
    const auto bytes = QByteArray::fromBase64(
        "iVBORw0KGgoAAAANSUhEUgAAABAAAAAQCAYAAAAf8/9hAAAAIUlEQVR42mNgGD7ghI3Gf1IwVgNIsWzUgOFrAEUJaegCACjMVrlu"
        "xtHfAAAAAElFTkSuQmCC");
    return {bytes.begin(), bytes.end()};
}

/// The cuts as an SVG drawing in millimetres; io_length grows by their length.
std::string DrawCuts(const CommandRun& i_run, const TavAM::Platform& i_platform, double& io_length)
{
    std::string cuts;
    int done = 0;
    for (const TavAM::Part& part : i_platform.GetParts()) {
        i_run.Report(100 * done++ / static_cast<int>(i_platform.GetParts().size()), "Cutting"); // also looks for a stop
        const auto box = part.GetBoundingBox();
        const double width = box.max.x - box.min.x;
        const double depth = box.max.y - box.min.y;
        cuts += "<rect x='" + std::to_string(box.min.x) + "' y='" + std::to_string(box.min.y) + "' width='" +
                std::to_string(width) + "' height='" + std::to_string(depth) + "'/>\n";
        io_length += 2 * (width + depth);
    }
    return "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 600 400'>\n" + cuts + "</svg>\n";
}

/// Both commands: draw, tell the time, and keep the drawing when i_jobs_dir is given.
CommandResult Cut(const CommandRun& i_run, const std::filesystem::path& i_jobs_dir)
{
    const auto platform = i_run.ReadPlatform();
    double length = 0;
    const std::string drawing = DrawCuts(i_run, *platform, length);
    auto& properties = platform->GetAMXProperties();
    const double speed = properties.GetText(L"FoamCutter.Speed") == L"fine" ? 5 : 20; // mm/s
    properties.SetText(Names::PrintTimeSeconds, std::to_wstring(length / speed));
    if (!i_jobs_dir.empty()) {
        std::filesystem::create_directories(i_jobs_dir);
        const auto file = i_jobs_dir / "cuts.svg";
        TavSDK::AtomicFile output(file);
        output.Write(drawing);
        output.Commit();
        LeaveMachineFile(file, i_run.parameters.outputDir, i_run.stop); // for hosts elsewhere
        properties.SetText(Names::MachineFile, TavSDK::PathToWide(file));
    }
    return i_run.ReturnPlatform(*platform, DataFormat::Properties);
}

OfferedCommand MakeCommand(CommandType i_type, const char* ip_id, const char* ip_name, std::filesystem::path i_jobs_dir)
{
    OfferedCommand command;
    command.description = {i_type,   boost::uuids::string_generator()(ip_id), DataFormat::Properties, ip_name, "",
                           GetIcon()};
    command.run = [i_jobs_dir](const CommandRun& i_run) {
        return Cut(i_run, i_jobs_dir);
    };
    return command;
}

} // namespace

std::unique_ptr<AbstractServiceCatalog> MakeFoamCutters(const std::filesystem::path& i_jobs_dir)
{
    OfferedMachine cutter;
    cutter.data.id = boost::uuids::string_generator()("3c2f7a10-8a44-4a6e-9f0d-5e3b1a7c9d01");
    cutter.data.name = "Foam Cutter 600";
    cutter.data.manufacturer = "Example";
    cutter.data.buildVolume = BuildVolume{0, 0, 600, 400, 50};
    cutter.platform.choices = {{"FoamCutter.Speed", "Speed", true, {{"fast", "Fast", true}, {"fine", "Fine", false}}}};
    cutter.commands = {
        MakeCommand(CommandType::Build, "3c2f7a10-8a44-4a6e-9f0d-5e3b1a7c9d02", "Cut", i_jobs_dir),
        MakeCommand(CommandType::ConsumptionEstimations, "3c2f7a10-8a44-4a6e-9f0d-5e3b1a7c9d03", "Time", {})};
    return std::make_unique<OfferedMachinesCatalog>(
        OfferedMachinesCatalog::Service{ServiceId(1000), "Foam cutters", "1.0"},
        [cutter] { return std::vector{cutter}; });
}

} // namespace Example
