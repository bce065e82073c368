#include "buildprocessor/AutomaticPlacement.h"
#include "buildprocessor/BuildReport.h"
#include "buildprocessor/BuildVolumeCheck.h"
#include "buildprocessor/CollisionCheck.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/JobFolder.h"
#include "buildprocessor/MachineCommands.h"
#include "buildprocessor/MachineSettings.h"
#include "buildprocessor/PlacementCheck.h"
#include "buildprocessor/PrivateFile.h"
#include "tavam/PropertyNames.h"

#include <QDateTime>
#include <QString>

namespace MachineService::BuildProcessor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

constexpr std::size_t MaxLines = 12; ///< of faults that one message box shows

void Set(TavAM::Platform& io_platform, const wchar_t* ip_name, const std::string& i_text)
{
    io_platform.GetAMXProperties().SetText(ip_name, QString::fromStdString(i_text).toStdWString());
}

std::vector<std::string> FindFaults(const JobInput& i_input, const TavAM::Platform& i_platform)
{
    std::vector<std::string> faults;
    PlacementRules rules;
    rules.clearance = -1;
    rules.onBed = !i_input.profile.MakesSupports();
    rules.tolerance = VolumeTolerance;
    for (const PlacementFault& fault :
         FindPlacementFaults(i_platform, i_input.profile.bed, i_input.profile.height, rules, i_input.stop))
        faults.push_back(fault.message);
    try {
        CheckCollisions(GetGeometries(i_platform), i_input.stop);
    } catch (const CommunicationException& failure) {
        if (failure.code() == ErrorCode::ProcessingAborted)
            throw;
        faults.emplace_back(failure.what());
    }
    return faults;
}

} // namespace

CommandResult EstimateConsumption(const JobInput& i_input)
{
    JobProgress progress(i_input);
    const auto sliced = SlicePlatform(i_input, progress);
    const Figures& figures = sliced->figures;
    auto result = WriteResult(i_input, *sliced->platform, DataFormat::Properties,
                              "The platform takes " + FormatDuration(figures.seconds) + " and " +
                                  QString::number(figures.cubicCentimetres, 'f', 2).toStdString() + " cm³ (" +
                                  QString::number(figures.grams, 'f', 2).toStdString() + " g) of '" +
                                  sliced->profile.GetDefaultMaterial().name + "'." + sliced->notes);
    progress.Finish();
    return result;
}

CommandResult PlaceAutomatically(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    const auto platform = ReadPlatform(i_input.parameters);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, i_input.profile, notes);
    PlacementOptions options;
    options.clearance = settings.clearance;
    options.stop = i_input.stop;
    options.onProgress = [&](int i_percent) {
        progress.Report(5 + i_percent * 9 / 10, "Placing the parts");
    };
    const PlacementResult placed = PlaceParts(*platform, i_input.profile.bed, i_input.profile.height, options);
    if (!placed.unplaced.empty())
        Fail(ErrorCode::FileError, "These parts do not fit on the bed of the printer with a clearance of " +
                                       ToNumberText(settings.clearance) +
                                       " mm, and nothing was moved: " + JoinNames(placed.unplaced) + '.');
    std::string message = std::to_string(platform->GetParts().size() - placed.withoutMesh.size()) +
                          " parts were placed with a clearance of " + ToNumberText(settings.clearance) + " mm.";
    if (!placed.withoutMesh.empty())
        message += " These have no mesh and stay where they are: " + JoinNames(placed.withoutMesh) + '.';
    auto result = WriteResult(i_input, *platform, DataFormat::Placement, std::move(message));
    progress.Finish();
    return result;
}

CommandResult CheckPlatform(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    const auto platform = ReadPlatform(i_input.parameters);
    progress.Report(10, "Checking the parts");
    const auto faults = FindFaults(i_input, *platform);
    if (!faults.empty()) {
        std::string text = "The platform cannot be built:";
        for (std::size_t index = 0; index < std::min(faults.size(), MaxLines); ++index)
            text += '\n' + faults[index];
        if (faults.size() > MaxLines)
            text += "\nand " + std::to_string(faults.size() - MaxLines) + " more.";
        Fail(ErrorCode::FileError, text);
    }
    Set(*platform, PropertyName::Check, "passed");
    Set(*platform, PropertyName::CheckTime, QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString());
    auto result = WriteResult(i_input, *platform, DataFormat::Properties,
                              "All " + std::to_string(platform->GetParts().size()) +
                                  " parts lie inside the build volume, and none collide.");
    progress.Finish();
    return result;
}

CommandResult MakeReportDocument(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the scene");
    const HostScene scene = ReadHostScene(i_input.parameters.inputFile);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, i_input.profile, notes);
    const MachineProfile profile = ApplyPlatformSettings(i_input.profile, settings, scene.platform, notes);
    progress.Report(30, "Writing the report");
    const std::string report = MakeBuildReport(
        {scene, profile, profile.GetDefaultMaterial(), profile.layerHeights.front(), std::chrono::system_clock::now()});
    const auto job = scene.platform.GetAMXProperties().GetText(Names::JobName);
    const std::wstring name = job && !job->empty() ? *job : scene.platform.GetName();
    const std::string fileName =
        ToFileName("Build report " + QString::fromStdWString(name).left(60).toStdString()) + ".html";
    WritePrivateFile(i_input.parameters.outputDir / fileName, report);
    CommandResult result;
    result.dataFormat = DataFormat::Document;
    result.message = "The report was made.";
    progress.Finish();
    return result;
}

CommandResult FillReport(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    auto platform = ReadPlatform(i_input.parameters);
    MachineProfile profile = i_input.profile;
    std::string notes;
    if (platform->GetParts().empty()) {
        std::vector<std::string> ignored;
        const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, profile, ignored);
        profile = ApplyPlatformSettings(profile, settings, *platform, ignored);
        StorePlatformSettings(profile, *platform);
    } else {
        auto sliced = SlicePlatform(i_input, progress);
        platform = std::move(sliced->platform);
        profile = std::move(sliced->profile);
        notes = std::move(sliced->notes);
    }
    double volume = 0;
    for (const TavAM::Part& part : platform->GetParts()) {
        part.GetRepresentation().ForEachMesh(part.GetPlacement(), [&](const auto& i_mesh, const auto& i_placement) {
            volume += std::abs(TavAM::GetVolume(i_mesh, i_placement)) / 1000;
        });
    }
    Set(*platform, PropertyName::Printer, profile.name);
    Set(*platform, PropertyName::Manufacturer, profile.manufacturer);
    Set(*platform, PropertyName::QueueState, GetStateName(profile.queueState));
    Set(*platform, PropertyName::PartCount, std::to_string(platform->GetParts().size()));
    Set(*platform, PropertyName::PartVolume, QString::number(volume, 'f', 3).toStdString());
    auto result = WriteResult(i_input, *platform, DataFormat::Platform, "The report's properties were filled." + notes);
    progress.Finish();
    return result;
}

} // namespace MachineService::BuildProcessor
