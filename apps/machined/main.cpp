#include "machined/Daemon.h"
#include "machined/Log.h"
#include "tavsdk/Text.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

enum ExitCode
{
    Succeeded = 0,
    Failed = 1,
    BadUsage = 2,
};

/// Before any thread begins, which takes over what is blocked.
void BlockSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGPIPE})
        sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void Run(const Machined::Settings& i_settings)
{
    if (i_settings.help) {
        std::fputs(Machined::GetHelp().c_str(), stdout);
    } else if (!i_settings.command.empty()) {
        Machined::RunTokenCommand(i_settings);
    } else if (i_settings.checkOnly) {
        Machined::CheckSettings(i_settings);
        std::puts(("The configuration " +
                   (i_settings.configuration.empty() ? std::string() : TavSDK::Quote(i_settings.configuration) + ' ') +
                   "can be used.")
                      .c_str());
    } else {
        Machined::TakeQtMessages();
        Machined::RunDaemon(i_settings);
    }
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    BlockSignals();
    try {
        Run(Machined::ReadSettings(std::vector<std::string>(ip_argv + 1, ip_argv + i_argc)));
        return Succeeded;
    } catch (const Machined::WrongUsage& wrong) {
        std::fprintf(stderr, "%s\n", wrong.what());
        return BadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return Failed;
    }
}
