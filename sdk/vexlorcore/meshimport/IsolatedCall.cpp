#include "vexlorcore/meshimport/IsolatedCall.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VexlorCore {

namespace {

constexpr char Succeeded = 'S';
constexpr char Failed = 'F';
constexpr int ResultTooLarge = 3; ///< exit status
constexpr rlim_t OpenFiles = 8;   ///< the standard three, the result, and what the function reads

class Descriptor
{
public:
    explicit Descriptor(int i_value)
        : _value(i_value)
    {}
    ~Descriptor()
    {
        if (_value >= 0)
            ::close(_value);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return _value; }

private:
    const int _value;
};

std::string ToMegabytes(std::size_t i_bytes)
{
    return std::to_string(i_bytes >> 20U) + " MB";
}

bool WriteAll(int i_file, const char* ip_bytes, std::size_t i_size)
{
    while (i_size > 0) {
        const auto written = ::write(i_file, ip_bytes, i_size);
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0) {
            ip_bytes += written;
            i_size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

void Limit(__rlimit_resource i_resource, rlim_t i_soft, rlim_t i_hard)
{
    // The parent may itself be limited to less, which stays.
    rlimit limit = {};
    ::getrlimit(i_resource, &limit);
    limit.rlim_max = std::min(i_hard, limit.rlim_max);
    limit.rlim_cur = std::min(i_soft, limit.rlim_max);
    ::setrlimit(i_resource, &limit);
}

/// Bytes of data that the process has from its parent; nothing when the system does not tell.
std::optional<rlim_t> GetInheritedData()
{
    // The sixth number, in pages. Read without the C++ library's streams: these take locks.
    const Descriptor file(::open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
    char text[256] = {};
    unsigned long long pages = 0;
    if (file.Get() < 0 || ::read(file.Get(), text, sizeof text - 1) <= 0 ||
        std::sscanf(text, "%*u %*u %*u %*u %*u %llu", &pages) != 1) // NOLINT(cert-err34-c): of the kernel's own number
        return std::nullopt;
    return static_cast<rlim_t>(pages) * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

void LimitChild(const CallLimits& i_limits)
{
    Limit(RLIMIT_CORE, 0, 0);
    const auto seconds = static_cast<rlim_t>(i_limits.processorTime.count());
    Limit(RLIMIT_CPU, seconds, seconds + 1);
    if (const auto inherited = GetInheritedData())
        Limit(RLIMIT_DATA, *inherited + i_limits.memory, *inherited + i_limits.memory);
    Limit(RLIMIT_FSIZE, i_limits.result + 1, i_limits.result + 1); // one byte tells the kind
    Limit(RLIMIT_NOFILE, OpenFiles, OpenFiles);
}

/// The parent's handlers would act in the parent's name.
void ResetSignals()
{
    for (int number = 1; number < NSIG; ++number)
        ::signal(number, SIG_DFL);
    // What a terminal sends to all is for the parent, which then stops this process; a write beyond the limit fails.
    for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGXFSZ, SIGPIPE})
        ::signal(number, SIG_IGN);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Leaves no descriptor of the parent's open, so that a connection or a lock of it does not live longer than it wants.
/// \return the result's new descriptor.
int KeepOnly(int i_result)
{
    constexpr int result = 3;
    // First: a host without standard streams may have given the result one of their numbers.
    if (i_result != result)
        ::dup2(i_result, result);
    // The last words of a library that aborts are not for the host's console.
    const int null = ::open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(null, standard);
    ::syscall(SYS_close_range, result + 1, ~0U, 0);
    return result;
}

/// The child's side. Leaves without destructors or exit handlers, and never by an exception: those are the parent's.
[[noreturn]] void RunChild(const std::function<std::string()>& i_function, int i_result, const CallLimits& i_limits,
                           pid_t i_parent) noexcept
{
    ResetSignals();
    // Nobody waits for the result of a process whose parent is gone.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != i_parent)
        ::_exit(EXIT_FAILURE);
    const int file = KeepOnly(i_result);
    LimitChild(i_limits);

    char kind = Succeeded;
    std::string result;
    try {
        result = i_function();
    } catch (const std::bad_alloc&) {
        kind = Failed;
        result =
            "it needs more than the " + ToMegabytes(i_limits.memory) + " of memory that a file of its size may use";
    } catch (const std::exception& error) {
        kind = Failed;
        result = error.what();
    } catch (...) {
        kind = Failed;
        result = "it failed without saying why";
    }
    const bool isWritten = WriteAll(file, &kind, 1) && WriteAll(file, result.data(), result.size());
    ::_exit(isWritten ? EXIT_SUCCESS : ResultTooLarge);
}

enum class Ending
{
    OfItself,
    AtDeadline,
    Stopped,
};

/// Reaps the child, which is killed at the deadline or when a stop is asked for.
Ending AwaitChild(pid_t i_child, std::chrono::seconds i_deadline, const std::stop_token& i_stop, int& o_status)
{
    using Clock = std::chrono::steady_clock;
    // Not the library's wrapper: its header lacks the linkage for C++.
    const Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, i_child, 0)));
    const Descriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const std::stop_callback onStop(i_stop, [&wake] { ::eventfd_write(wake.Get(), 1); });
    // A system that refuses a descriptor tells of the end, or the stop, in no other way than by being asked.
    const bool isTold = handle.Get() >= 0 && wake.Get() >= 0;
    const auto longestWait = std::chrono::milliseconds(isTold ? 3'600'000 : 20);
    const auto end = Clock::now() + i_deadline;
    auto ending = Ending::OfItself;
    for (;;) {
        const pid_t ended = ::waitpid(i_child, &o_status, WNOHANG);
        if (ended == i_child || (ended < 0 && errno != EINTR))
            return ending;
        auto left =
            std::max(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()), std::chrono::milliseconds());
        if (ending == Ending::OfItself && (i_stop.stop_requested() || left.count() == 0)) {
            ending = i_stop.stop_requested() ? Ending::Stopped : Ending::AtDeadline;
            ::kill(i_child, SIGKILL);
        }
        if (ending != Ending::OfItself)
            left = longestWait;
        // The wake-up is for before the kill: after it, it would never be quiet.
        pollfd events[] = {{handle.Get(), POLLIN, 0}, {ending == Ending::OfItself ? wake.Get() : -1, POLLIN, 0}};
        ::poll(events, std::size(events), static_cast<int>(std::min(left, longestWait).count()));
    }
}

std::string ReadAll(int i_file)
{
    const auto size = ::lseek(i_file, 0, SEEK_END);
    std::string bytes(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
    for (std::size_t done = 0; done < bytes.size();) {
        const auto read = ::pread(i_file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
        if (read <= 0)
            return {};
        done += static_cast<std::size_t>(read);
    }
    return bytes;
}

/// Why a child that has ended left no result.
std::string DescribeDeath(int i_status, const CallLimits& i_limits)
{
    if (WIFSIGNALED(i_status)) {
        const int number = WTERMSIG(i_status);
        if (number == SIGXCPU)
            return "it needs more than the " + std::to_string(i_limits.processorTime.count()) +
                   " seconds of processor time that a file of its size may use";
        const std::string name = "signal " + std::to_string(number) + ", " + ::sigdescr_np(number);
        if (number == SIGKILL || number == SIGTERM)
            return "the process that read it was ended from outside (" + name + "), maybe for want of memory";
        return "it is damaged in a way that the process that read it did not survive (" + name + ")";
    }
    if (WEXITSTATUS(i_status) == ResultTooLarge)
        return "it holds more than " + ToMegabytes(i_limits.result) + " of geometry";
    return "the process that read it ended without a result (status " + std::to_string(WEXITSTATUS(i_status)) + ")";
}

} // namespace

std::optional<std::string> CallIsolated(const std::function<std::string()>& i_function, const CallLimits& i_limits,
                                        const std::stop_token& i_stop)
{
    if (i_stop.stop_requested())
        return std::nullopt;
    const Descriptor result(::memfd_create("isolated-call", MFD_CLOEXEC));
    const pid_t parent = ::getpid();
    const pid_t child = result.Get() < 0 ? -1 : ::fork();
    if (child < 0)
        throw std::runtime_error("no process can be made for it: " + std::generic_category().message(errno));
    if (child == 0)
        RunChild(i_function, result.Get(), i_limits, parent);

    int status = 0;
    const auto ending = AwaitChild(child, i_limits.deadline, i_stop, status);
    if (ending == Ending::Stopped)
        return std::nullopt;
    if (ending == Ending::AtDeadline)
        throw std::runtime_error("it took longer than " + std::to_string(i_limits.deadline.count()) + " seconds");
    auto bytes = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS ? ReadAll(result.Get()) : std::string();
    if (bytes.empty())
        throw std::runtime_error(DescribeDeath(status, i_limits));
    const char kind = bytes.front();
    bytes.erase(0, 1);
    if (kind != Succeeded)
        throw std::runtime_error(bytes);
    return bytes;
}

} // namespace VexlorCore
