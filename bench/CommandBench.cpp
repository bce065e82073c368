#include "Comparison.h"
#include "StubMachines.h"

#include "commands/CommandRunner.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/HeldScene.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include <time.h>

namespace Bench {

namespace {

using namespace MachineService;

/// A host with one empty scene and a machine that answers at once.
struct Host
{
    Host()
        : provider(std::filesystem::temp_directory_path())
    {
        scene = application.CreateDatabase().CreateDataSet();
    }

    void Run()
    {
        const bool done =
            Helpers::RunCommand(VexlorCore::HeldScene(*scene), machine, CommandParameters(), DataFormat::Platform,
                                QStringLiteral("Empty"), [this]() -> IVexlorApiProvider& { return provider; });
        if (!done)
            std::abort();
    }

    VexlorCore::UiThread uiThread;
    VexlorCore::Application application;
    Vexlor::ReferenceApiProvider provider;
    VexlorCore::DataSet* scene = nullptr;
    Machine machine = MakeStubMachine(1);
};

double ThreadSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

constexpr int Runs = 50;

} // namespace

void AddCommandBenchmarks()
{
    Limit("empty job through RunCommand", 0.010, "s", [] {
        Host host;
        const auto begin = std::chrono::steady_clock::now();
        for (int run = 0; run < Runs; ++run)
            host.Run();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count() / Runs;
    });
    Limit("empty job, on the UI thread", 0.001, "s", [] {
        Host host;
        const double begin = ThreadSeconds();
        for (int run = 0; run < Runs; ++run)
            host.Run();
        return (ThreadSeconds() - begin) / Runs;
    });
}

} // namespace Bench
