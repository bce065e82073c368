// foam_cutter_server ADDRESS: the machine of examples/service in a process of its own, at unix:/PATH.
#include "server/MachineServer.h"
#include "service/FoamCutter.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>

namespace {

int Serve(const char* ip_address)
{
    const auto jobs = std::filesystem::temp_directory_path() / "foam-cutter-jobs";
    const auto catalog = Example::MakeFoamCutters(jobs);
    MachineService::MachineServerOptions options;
    options.name = "Foam cutters";
    options.language = "en";
    options.addresses = {ip_address};
    options.services = {MachineService::ServiceId(1000)};
    MachineService::MachineServer server(*catalog, options);
    server.Start();
    std::puts("ready");
    std::fflush(stdout);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    int signal = 0;
    sigwait(&signals, &signal);
    server.Stop(std::chrono::seconds(10));
    return 0;
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    if (i_argc != 2) {
        std::fputs("foam_cutter_server unix:/PATH\n", stderr);
        return 2;
    }
    // Before any thread begins, which takes over what is blocked.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        return Serve(ip_argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
