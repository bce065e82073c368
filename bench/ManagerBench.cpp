#include "Comparison.h"
#include "ProcessStatus.h"
#include "StubMachines.h"

#include "catalog/CachedMachineStrategy.h"
#include "commands/PrinterCommandManager.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ActiveSceneContext.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

namespace Bench {

namespace {

using namespace MachineService;
using Clock = std::chrono::steady_clock;

/// A host with two scenes, each with a machine of its own.
struct Host
{
    explicit Host(std::size_t i_commands)
        : provider(std::filesystem::temp_directory_path())
    {
        application.CreateDatabase();
        for (std::size_t number = 0; number < 2; ++number) {
            scenes.push_back(application.GetDatabase()->CreateDataSet());
            machines.push_back(Machine(std::make_unique<CachedMachineStrategy>(
                MakeStubMachine(number, {.answers = true, .commands = i_commands}), [] {})));
        }
        manager = std::make_unique<PrinterCommandManager>(
            [this] { return application.GetDatabase()->GetActiveDataSet(); },
            [this](VexlorCore::DataSet* ip_scene) -> std::optional<Machine> {
                if (!ip_scene)
                    return std::nullopt;
                return machines[ip_scene == scenes[0] ? 0 : 1];
            },
            [this]() -> IVexlorApiProvider& { return provider; }, [] { return QString(); });
        application.GetDatabase()->SetActiveDataSet(scenes[0]);
    }

    /// The manager hears of it from the database.
    void Switch()
    {
        VexlorCore::Database& database = *application.GetDatabase();
        database.SetActiveDataSet(database.GetActiveDataSet() == scenes[0] ? scenes[1] : scenes[0]);
        const Vexlor::UICommands::ActiveSceneContext context;
        for (auto* command : manager->GetAllCommands())
            command->Update(context);
    }

    VexlorCore::UiThread uiThread;
    VexlorCore::Application application;
    Vexlor::ReferenceApiProvider provider;
    std::vector<VexlorCore::DataSet*> scenes;
    std::vector<Machine> machines;
    std::unique_ptr<PrinterCommandManager> manager;
};

/// Longest of 50 switches between machines with 100 commands each. Seconds.
double MeasureSwitch()
{
    Host host(100);
    Clock::duration longest{};
    for (int number = 0; number < 50; ++number) {
        const auto begin = Clock::now();
        host.Switch();
        longest = std::max(longest, Clock::now() - begin);
    }
    if (host.manager->GetAllCommands().size() != 100)
        return 1e9;
    return std::chrono::duration<double>(longest).count();
}

/// Threads that 1,000 switches of scenes leave behind, more than the two of the machines' caches.
double MeasureThreadsLeft()
{
    const std::size_t before = CountThreads();
    Host host(20);
    for (int number = 0; number < 1000; ++number)
        host.Switch();
    return static_cast<double>(CountThreads()) - static_cast<double>(before) - 2;
}

} // namespace

void AddManagerBenchmarks()
{
    ComparePrepared(
        "check of an unchanged machine", 3,
        []() -> Body {
            const auto host = std::make_shared<Host>(20);
            return [host] {
                host->manager->CheckCommands();
            };
        },
        []() -> Body {
            return [] {
                benchmark::DoNotOptimize(MakeCommandDescriptions(MakeId(0), 20));
            };
        });
    Limit("switch of 100 and 100 commands", 0.016, "s", MeasureSwitch);
    Limit("threads left by 1,000 switches", 0.5, "threads", MeasureThreadsLeft);
}

} // namespace Bench
