#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// How a program is started. Arguments are passed as they are, no shell is involved.
struct SubprocessOptions
{
    std::vector<std::string> command; ///< the program, an absolute path or a name of the search path, and its arguments
    std::filesystem::path tempDir;    ///< the program's own folder for temporary files
    std::chrono::milliseconds deadline{0};
    /// Called on the calling thread for each line of output, without its line break. Long lines are cut.
    std::function<void(const std::string& i_line)> onLine;
};

struct SubprocessResult
{
    enum class End
    {
        Exited,
        Signalled,
        DeadlinePassed,
        Stopped,
    };
    End end = End::Exited;
    int code = 0;     ///< exit status or number of the signal
    std::string tail; ///< the last lines of both outputs, bounded
};

/// Runs a program in a process group of its own and waits for it; when the deadline passes or the token asks, the whole
/// group gets SIGTERM and, a quarter of a second later, SIGKILL. The program is always gone when this returns.
///
/// Thread: any, blocking.
/// \throws CommunicationException InternalError when it cannot be started.
SubprocessResult RunSubprocess(const SubprocessOptions& i_options, std::stop_token i_stop);

} // namespace MachineService::BuildProcessor
