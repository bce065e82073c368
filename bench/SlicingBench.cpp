#include "Comparison.h"

#include "buildprocessor/base/Subprocess.h"
#include "buildprocessor/engine/EngineModel.h"
#include "buildprocessor/engine/EngineSettings.h"
#include "buildprocessor/engine/SlicingEngine.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/machines/ShippedProfiles.h"
#include "client/interface/AbstractPluginUtility.h"
#include "client/interface/CommunicationException.h"
#include "client/interface/ICommunicationServiceAPI.h"
#include "client/interface/Machine.h"
#include "client/interface/ScopedTempDir.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/Platform.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <future>
#include <numbers>
#include <thread>

namespace Bench {

namespace {

using namespace MachineService;
using namespace MachineService::BuildProcessor;
using Clock = std::chrono::steady_clock;

double Seconds(const std::function<void()>& i_work)
{
    const auto begin = Clock::now();
    i_work();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double Best(int i_times, const std::function<double()>& i_measure)
{
    double best = i_measure();
    while (--i_times > 0)
        best = std::min(best, i_measure());
    return best;
}

/// A closed body with waves on it, of 50,000 triangles, 40 mm wide, on the bed.
TavAM::Mesh MakeBody()
{
    constexpr std::uint32_t rings = 125;
    constexpr std::uint32_t corners = 201;
    TavAM::Mesh mesh;
    const auto add = [&](double i_height, double i_angle) {
        const double radius = 18 + 2 * std::sin(9 * i_angle) * std::sin(i_height * 6);
        const double around = radius * std::sin(i_height);
        mesh.vertices.push_back({static_cast<float>(around * std::cos(i_angle)),
                                 static_cast<float>(around * std::sin(i_angle)),
                                 static_cast<float>(20 - 20 * std::cos(i_height))});
    };
    // Cut off below, so that it stands on an area.
    constexpr double bottom = 0.5;
    for (std::uint32_t ring = 0; ring < rings; ++ring) {
        for (std::uint32_t corner = 0; corner < corners; ++corner)
            add(bottom + (std::numbers::pi - 0.05 - bottom) * ring / (rings - 1),
                2 * std::numbers::pi * corner / corners);
    }
    const float floor = mesh.vertices.front().z;
    for (auto& vertex : mesh.vertices)
        vertex.z -= floor;
    for (std::uint32_t ring = 0; ring + 1 < rings; ++ring) {
        for (std::uint32_t corner = 0; corner < corners; ++corner) {
            const std::uint32_t next = (corner + 1) % corners;
            const std::uint32_t a = ring * corners + corner;
            const std::uint32_t b = ring * corners + next;
            mesh.triangles.push_back({a, b, b + corners});
            mesh.triangles.push_back({a, b + corners, a + corners});
        }
    }
    const auto close = [&](std::uint32_t i_first, bool i_up) {
        const auto centre = static_cast<std::uint32_t>(mesh.vertices.size());
        mesh.vertices.push_back({0, 0, mesh.vertices[i_first].z});
        for (std::uint32_t corner = 0; corner < corners; ++corner) {
            const std::uint32_t next = (corner + 1) % corners;
            if (i_up)
                mesh.triangles.push_back({i_first + corner, i_first + next, centre});
            else
                mesh.triangles.push_back({i_first + next, i_first + corner, centre});
        }
    };
    close(0, false);
    close((rings - 1) * corners, true);
    return mesh;
}

TavAM::Platform MakePlatform()
{
    const auto mesh = std::make_shared<const TavAM::Mesh>(MakeBody());
    TavAM::Platform platform;
    for (const double x : {50.0, 110.0}) {
        TavAM::Part part;
        part.SetName(L"body");
        part.SetRepresentation(TavAM::Representation::FromMesh(mesh));
        part.SetPlacement(TavAM::Transform::Translation(x, 90, 0));
        platform.GetParts().push_back(std::move(part));
    }
    return platform;
}

class Folders final : public AbstractPluginUtility
{
public:
    explicit Folders(std::filesystem::path i_dir)
        : _dir(std::move(i_dir))
    {}
    std::filesystem::path GetConfigurationDir() const override { return _dir / "configuration"; }
    std::filesystem::path GetDataDir() const override { return _dir / "data"; }
    std::optional<std::string> GetSetting(const std::string&) const override { return std::nullopt; }

private:
    const std::filesystem::path _dir;
};

/// The embedded service with one platform of 100,000 triangles, and the engine alone on the same.
class SlicingJob
{
public:
    SlicingJob()
    {
        catalog = CreateCommunicationService()->CreateMachinesCatalog(
            [&](ServiceId) { return std::make_unique<Folders>(dir); });
        std::promise<void> running;
        const auto connection = catalog->ConnectServiceStatusUpdated([&](ServiceId, ServiceStatus i_status) {
            if (i_status == ServiceStatus::Running)
                running.set_value();
        });
        catalog->Start(ServiceId::BuildProcessors);
        running.get_future().wait();
        connection.disconnect();
    }

    Machine GetMachine() const { return catalog->GetMachine(profile.id); }

    CommandParameters MakeParameters(CommandType i_type) const
    {
        CommandParameters parameters;
        for (const auto& command : GetMachine().GetCommands().get()) {
            if (command.type == i_type)
                parameters.commandId = command.id;
        }
        parameters.jobName = "bench";
        parameters.inputFile = dir / "input.TavAMX";
        parameters.outputDir = dir / "output";
        return parameters;
    }

    void Write(const TavAM::Platform& i_platform) const
    {
        TavAM::AMXFileWriter().WriteFile(dir / "input.TavAMX", i_platform);
    }

    /// Runs a command; what it returns is the input of the next one.
    void Run(CommandType i_type) const
    {
        std::filesystem::create_directories(dir / "output");
        GetMachine().RunCommand(MakeParameters(i_type)).get();
        std::filesystem::rename(dir / "output" / "platform.TavAMX", dir / "input.TavAMX");
    }

    void Forget() const { std::filesystem::remove_all(dir / "data" / "cache"); }

    double MeasureEngine() const
    {
        const ScopedTempDir work;
        const auto model = work.GetAbsoluteFileNameInTempDir("model.3mf");
        const auto settings = work.GetAbsoluteFileNameInTempDir("settings.ini");
        WriteEngineModel(GetGeometries(platform, {}), model, {});
        WriteEngineConfiguration(MakeEngineConfiguration(profile), settings);
        SubprocessOptions options;
        options.command = {FindEngine({}),
                           "--export-gcode",
                           "--dont-arrange",
                           "--loglevel",
                           "1",
                           "--datadir",
                           work.GetAbsoluteFileNameInTempDir("engine").string(),
                           "--load",
                           settings.string(),
                           "--output",
                           work.GetAbsoluteFileNameInTempDir("job.gcode").string(),
                           model.string()};
        options.tempDir = work.GetAbsoluteDir();
        options.deadline = std::chrono::minutes(10);
        return Seconds([&] {
            if (RunSubprocess(options, {}).code != 0)
                std::abort();
        });
    }

    const TavAM::Platform platform = MakePlatform();
    const MachineProfile profile = [] {
        for (const auto& [name, text] : GetShippedProfiles()) {
            if (name == "kestrel-180.json")
                return ReadProfile(text, name).profile;
        }
        std::abort();
    }();
    const ScopedTempDir folder;
    const std::filesystem::path dir = folder.GetAbsoluteDir();
    std::unique_ptr<AbstractMachinesCatalog> catalog;
};

struct Measured
{
    double build = 0;  ///< (seconds - 0.5) / those of the engine alone
    double job = 0;    ///< (seconds - 2) / those of the engine alone
    double second = 0; ///< s
    double cancel = 0; ///< s
};

double MeasureCancel(const SlicingJob& i_job)
{
    i_job.Forget();
    std::stop_source stop;
    std::promise<void> slicing;
    auto parameters = i_job.MakeParameters(CommandType::Build);
    parameters.stopToken = stop.get_token();
    parameters.onProgress = [&, isTold = false](int i_percent, const std::string&) mutable {
        if (i_percent > 15 && !std::exchange(isTold, true))
            slicing.set_value();
    };
    std::filesystem::create_directories(i_job.dir / "output");
    auto answer = i_job.GetMachine().RunCommand(parameters);
    slicing.get_future().wait();
    return Seconds([&] {
        stop.request_stop();
        answer.wait();
    });
}

const Measured& Measure()
{
    static const Measured measured = [] {
        const SlicingJob job;
        const double engine = Best(3, [&] { return job.MeasureEngine(); });
        Measured result;
        result.build = (Best(3,
                             [&] {
                                 job.Forget();
                                 job.Write(job.platform);
                                 return Seconds([&] { job.Run(CommandType::Build); });
                             }) -
                        0.5) /
                       engine;
        result.second = Best(3, [&] { return Seconds([&] { job.Run(CommandType::ConsumptionEstimations); }); });
        result.job =
            (Best(3,
                  [&] {
                      job.Forget();
                      job.Write(job.platform);
                      return Seconds([&] {
                          for (const auto type : {CommandType::ConfigurePrinter, CommandType::ConfigurePlatform,
                                                  CommandType::ConfigureParts, CommandType::AutomaticPlacement,
                                                  CommandType::ConsumptionEstimations,
                                                  CommandType::AdditionalForPlatform, CommandType::Build})
                              job.Run(type);
                      });
                  }) -
             2) /
            engine;
        job.Write(job.platform);
        result.cancel = MeasureCancel(job);
        return result;
    }();
    return measured;
}

} // namespace

void AddSlicingBenchmarks()
{
    Limit("Build with nothing kept, (s - 0.5) / engine alone", 1.10, "ratio", [] { return Measure().build; });
    Limit("all commands with nothing kept, (s - 2) / engine alone", 1.30, "ratio", [] { return Measure().job; });
    Limit("second command on an unchanged platform", 0.2, "s", [] { return Measure().second; });
    Limit("cancel of a Build in the engine", 0.5, "s", [] { return Measure().cancel; });
}

} // namespace Bench
