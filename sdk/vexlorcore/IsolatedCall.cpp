#include "IsolatedCall.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <new>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
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

/// The child's side. Leaves without destructors or exit handlers: those are the parent's.
[[noreturn]] void RunChild(const std::function<std::string()>& i_function, int i_result,
                           std::chrono::seconds i_deadline)
{
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const auto seconds = static_cast<rlim_t>(i_deadline.count());
    const rlimit cpu = {seconds, seconds};
    ::setrlimit(RLIMIT_CPU, &cpu);
    // Nobody waits for the result of a process whose parent is gone.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The last words of a library that aborts are not for the host's console.
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0)
        ::dup2(null, STDERR_FILENO);

    char kind = Succeeded;
    std::string result;
    try {
        result = i_function();
    } catch (const std::bad_alloc&) {
        kind = Failed;
        result = "there is not enough memory";
    } catch (const std::exception& error) {
        kind = Failed;
        result = error.what();
    } catch (...) {
        kind = Failed;
        result = "it failed without saying why";
    }
    const bool isWritten = WriteAll(i_result, &kind, 1) && WriteAll(i_result, result.data(), result.size());
    ::_exit(isWritten ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// Reaps the child. False when it had to be killed at the deadline.
bool AwaitChild(pid_t i_child, std::chrono::seconds i_deadline, int& o_status)
{
    using Clock = std::chrono::steady_clock;
    // Not the library's wrapper: its header lacks the linkage for C++.
    const Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, i_child, 0)));
    // A system that refuses the handle tells of the end in no other way than by being asked.
    const auto longestWait = std::chrono::milliseconds(handle.Get() >= 0 ? 3'600'000 : 20);
    const auto end = Clock::now() + i_deadline;
    bool isInTime = true;
    for (;;) {
        const pid_t ended = ::waitpid(i_child, &o_status, WNOHANG);
        if (ended == i_child || (ended < 0 && errno != EINTR))
            return isInTime;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (isInTime && left.count() <= 0) {
            isInTime = false;
            ::kill(i_child, SIGKILL);
        }
        pollfd event = {handle.Get(), POLLIN, 0};
        ::poll(&event, 1, static_cast<int>((isInTime ? std::min(left, longestWait) : longestWait).count()));
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

} // namespace

std::string CallIsolated(const std::function<std::string()>& i_function, std::chrono::seconds i_deadline)
{
    // Guards nothing but the process: no other thread may be inside what the functions use while it is copied.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);

    const Descriptor result(::memfd_create("isolated-call", MFD_CLOEXEC));
    const pid_t child = result.Get() < 0 ? -1 : ::fork();
    if (child < 0)
        throw std::runtime_error("no process can be made for it: " + std::generic_category().message(errno));
    if (child == 0)
        RunChild(i_function, result.Get(), i_deadline);

    int status = 0;
    if (!AwaitChild(child, i_deadline, status))
        throw std::runtime_error("it took longer than " + std::to_string(i_deadline.count()) + " seconds");
    const bool hasEnded = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    auto bytes = hasEnded ? ReadAll(result.Get()) : std::string();
    if (bytes.empty())
        throw std::runtime_error("it is damaged in a way that the importer does not survive");
    const char kind = bytes.front();
    bytes.erase(0, 1);
    if (kind != Succeeded)
        throw std::runtime_error(bytes);
    return bytes;
}

} // namespace VexlorCore
