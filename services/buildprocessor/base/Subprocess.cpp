#include "buildprocessor/base/Subprocess.h"

#include "buildprocessor/base/UniqueFd.h"
#include "contract/Failure.h"
#include "tavsdk/FileError.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

extern char** environ;

namespace MachineService::BuildProcessor {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto GraceTime = 250ms;
constexpr std::size_t MaxLine = 4096;
constexpr std::size_t MaxTail = 4096;

/// Cuts output into lines and keeps the last of it.
class LineSplitter
{
public:
    explicit LineSplitter(SubprocessResult& io_result, const std::function<void(const std::string&)>& i_on_line)
        : _result(io_result)
        , _onLine(i_on_line)
    {}

    void Add(const char* ip_data, std::size_t i_size)
    {
        for (const char* character = ip_data; character != ip_data + i_size; ++character) {
            if (*character == '\n')
                Flush();
            else if (_line.size() < MaxLine)
                _line += *character;
        }
    }

    void Flush()
    {
        if (_line.empty())
            return;
        _result.tail += _line + '\n';
        if (_result.tail.size() > 2 * MaxTail)
            _result.tail.erase(0, _result.tail.size() - MaxTail);
        const std::string line = std::exchange(_line, {});
        if (_onLine)
            _onLine(line);
    }

private:
    SubprocessResult& _result;
    const std::function<void(const std::string&)>& _onLine;
    std::string _line;
};

struct Pipe
{
    UniqueFd read;
    UniqueFd write;
};

Pipe MakePipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        Fail(ErrorCode::InternalError, "No pipe for a program: " + TavSDK::ErrnoText(errno) + '.');
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

/// The host's environment with our temporary folder and a language in which numbers have points.
std::vector<std::string> MakeEnvironment(const std::filesystem::path& i_temp_dir)
{
    std::vector<std::string> variables;
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        if (!text.starts_with("TMPDIR=") && !text.starts_with("LC_") && !text.starts_with("LANG"))
            variables.push_back(text);
    }
    variables.push_back("TMPDIR=" + i_temp_dir.string());
    variables.push_back("LC_ALL=C.UTF-8");
    return variables;
}

std::vector<char*> ToPointers(std::vector<std::string>& io_texts)
{
    std::vector<char*> pointers;
    for (std::string& text : io_texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

pid_t Spawn(const SubprocessOptions& i_options, int i_output)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, i_output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, i_output, STDERR_FILENO);
    // The host's own files, which need not be close-on-exec.
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setsigmask(&attributes, &none);

    auto command = i_options.command;
    auto environment = MakeEnvironment(i_options.tempDir);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, command.front().c_str(), &actions, &attributes, ToPointers(command).data(),
                                   ToPointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        Fail(ErrorCode::InternalError,
             "The program '" + command.front() + "' cannot be started: " + TavSDK::ErrnoText(error) + '.');
    return pid;
}

/// The started program; never left behind.
class Child
{
public:
    explicit Child(pid_t i_pid)
        : _pid(i_pid)
        , _exitFd(static_cast<int>(syscall(SYS_pidfd_open, i_pid, 0)))
    {} // By number: the distribution's header of the call is not usable from C++.
    ~Child()
    {
        if (!_reaped)
            Reap();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    int GetExitFd() const { return _exitFd.Get(); }
    void Signal(int i_signal) const { kill(-_pid, i_signal); }
    bool HasExited() const
    {
        siginfo_t info = {};
        if (waitid(P_PID, static_cast<id_t>(_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0)
            return info.si_pid == _pid;
        // A host that ignores SIGCHLD has its programs reaped by the system.
        return errno == ECHILD;
    }
    /// Empty when somebody else was told how it ended.
    std::optional<int> Reap()
    {
        // Before the number of the group can be given away: whatever the program started goes with it.
        Signal(SIGKILL);
        int status = 0;
        pid_t reaped = -1;
        do {
            reaped = waitpid(_pid, &status, 0);
        } while (reaped < 0 && errno == EINTR);
        _reaped = true;
        return reaped == _pid ? std::optional(status) : std::nullopt;
    }

private:
    const pid_t _pid;
    const UniqueFd _exitFd;
    bool _reaped = false;
};

void ReadAvailable(int i_fd, LineSplitter& io_lines, bool& io_open)
{
    std::array<char, 16384> buffer;
    for (int rounds = 0; rounds < 16; ++rounds) {
        const ssize_t count = read(i_fd, buffer.data(), buffer.size());
        if (count > 0) {
            io_lines.Add(buffer.data(), static_cast<std::size_t>(count));
            continue;
        }
        if (count == 0 || (errno != EAGAIN && errno != EINTR))
            io_open = false;
        return;
    }
}

int MillisecondsUntil(Clock::time_point i_time)
{
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(i_time - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(rest, 0, 3'600'000));
}

} // namespace

SubprocessResult RunSubprocess(const SubprocessOptions& i_options, std::stop_token i_stop)
{
    SubprocessResult result;
    LineSplitter lines(result, i_options.onLine);
    const UniqueFd stopFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!stopFd)
        Fail(ErrorCode::InternalError, "No event for a program: " + TavSDK::ErrnoText(errno) + '.');
    Pipe output = MakePipe();
    Child child(Spawn(i_options, output.write.Get()));
    output.write.Reset();
    const std::stop_callback wakeUp(i_stop, [&] { eventfd_write(stopFd.Get(), 1); });

    auto next = Clock::now() + i_options.deadline;
    std::optional<SubprocessResult::End> ending;
    bool killed = false;
    bool isOpen = true;
    while (!child.HasExited()) {
        if (!ending && (i_stop.stop_requested() || Clock::now() >= next)) {
            ending = i_stop.stop_requested() ? SubprocessResult::End::Stopped : SubprocessResult::End::DeadlinePassed;
            child.Signal(SIGTERM);
            next = Clock::now() + GraceTime;
        } else if (ending && !killed && Clock::now() >= next) {
            child.Signal(SIGKILL);
            killed = true;
        }
        std::array<pollfd, 3> fds{pollfd{child.GetExitFd(), POLLIN, 0},
                                  pollfd{isOpen ? output.read.Get() : -1, POLLIN, 0},
                                  pollfd{ending ? -1 : stopFd.Get(), POLLIN, 0}};
        int timeout = killed ? 1000 : MillisecondsUntil(next);
        // An old kernel tells of the end in no other way.
        if (child.GetExitFd() < 0)
            timeout = std::min(timeout, 20);
        poll(fds.data(), fds.size(), timeout);
        if (fds[1].revents != 0)
            ReadAvailable(output.read.Get(), lines, isOpen);
    }
    const std::optional<int> reaped = child.Reap();
    // What is still in the pipe; not more, should something that left the group hold it open.
    ReadAvailable(output.read.Get(), lines, isOpen);
    lines.Flush();
    if (!reaped && !ending)
        Fail(ErrorCode::InternalError, "Nobody knows how the program '" + i_options.command.front() +
                                           "' ended: this process ignores the end of its programs (SIGCHLD).");
    const int status = reaped.value_or(0);
    if (ending)
        result.end = *ending;
    else if (WIFSIGNALED(status))
        result.end = SubprocessResult::End::Signalled;
    result.code = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    return result;
}

} // namespace MachineService::BuildProcessor
