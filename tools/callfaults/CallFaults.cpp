// Loaded before a program (LD_PRELOAD): lets one of its calls for files fail, stand still or be hit by a signal.
//
//   FAULT_CALL    open, write, rename, sync or mkdir
//   FAULT_NTH     which of these calls, 1 is the first; the processes that the program starts are counted along
//   FAULT_COUNTER a file of 8 zero bytes, which counts the calls for all processes
//   FAULT_PATHS   only calls for paths that contain one of these texts, separated by colons; default all
//   FAULT_THREADS "others": only calls of threads that are not the main thread
//   FAULT_PROGRAM only in processes of the program of this name, and not in those that it starts
// One of:
//   FAULT_ERRNO   the call fails with this number; with FAULT_STAYS=1 all later ones as well, as on a full disk
//   FAULT_HOLD    the call waits until somebody opens this pipe for writing
//   FAULT_SIGNAL  the process gets this signal, then the call goes on
//
// Calls that the C library makes by itself are not seen: of its streams, what is written shows in fwrite.
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

enum class Call
{
    Open,
    Write,
    Rename,
    Sync,
    Mkdir,
};

template <class Function>
Function* Find(const char* ip_name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, ip_name));
}

std::string_view Get(const char* ip_name)
{
    const char* value = std::getenv(ip_name);
    return value ? value : "";
}

long GetNumber(const char* ip_name)
{
    const char* value = std::getenv(ip_name);
    return value ? std::atol(value) : 0;
}

/// What the variables ask for, read once: the program may change its environment.
struct Fault
{
    Fault()
    {
        const std::string_view name = Get("FAULT_CALL");
        isWanted = GetNumber("FAULT_NTH") > 0 && IsProgram();
        call = name == "open"     ? Call::Open
               : name == "write"  ? Call::Write
               : name == "rename" ? Call::Rename
               : name == "sync"   ? Call::Sync
                                  : Call::Mkdir;
        const int file =
            Find<int(const char*, int, ...)>("open")(std::string(Get("FAULT_COUNTER")).c_str(), O_RDWR | O_CLOEXEC);
        void* shared = mmap(nullptr, sizeof(std::atomic<std::uint64_t>), PROT_READ | PROT_WRITE,
                            file < 0 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED, file, 0);
        counter = static_cast<std::atomic<std::uint64_t>*>(shared);
        if (file >= 0)
            ::close(file);
    }

    static bool IsProgram()
    {
        const std::string_view program = Get("FAULT_PROGRAM");
        std::array<char, 4096> path{};
        const auto size = readlink("/proc/self/exe", path.data(), path.size());
        return program.empty() ||
               (size > 0 && std::string_view(path.data(), static_cast<std::size_t>(size)).ends_with(program) &&
                path[static_cast<std::size_t>(size) - program.size() - 1] == '/');
    }

    bool isWanted = false;
    Call call = Call::Open;
    std::uint64_t nth = static_cast<std::uint64_t>(GetNumber("FAULT_NTH"));
    int error = static_cast<int>(GetNumber("FAULT_ERRNO"));
    bool stays = GetNumber("FAULT_STAYS") != 0;
    int signal = static_cast<int>(GetNumber("FAULT_SIGNAL"));
    bool onlyOtherThreads = Get("FAULT_THREADS") == "others";
    std::string hold{Get("FAULT_HOLD")};
    std::string paths{Get("FAULT_PATHS")};
    std::atomic<std::uint64_t>* counter = nullptr;
};

const Fault& GetFault()
{
    static const Fault mgp_fault;
    return mgp_fault;
}

// Before main, while there is one thread.
[[gnu::constructor]] void ReadFault()
{
    GetFault();
}

bool IsMeant(std::string_view i_path)
{
    std::string_view rest = GetFault().paths;
    while (!rest.empty()) {
        const std::string_view text = rest.substr(0, rest.find(':'));
        if (i_path.find(text) != std::string_view::npos)
            return true;
        rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    }
    return GetFault().paths.empty();
}

/// Whether this call is to fail; errno is set then.
bool Hits(Call i_call, const char* ip_path)
{
    const Fault& fault = GetFault();
    if (!fault.isWanted || i_call != fault.call || (fault.onlyOtherThreads && gettid() == getpid()) || !ip_path ||
        !IsMeant(ip_path))
        return false;
    const std::uint64_t number = ++*fault.counter;
    if (number != fault.nth && !(fault.stays && number > fault.nth))
        return false;
    if (!fault.hold.empty())
        ::close(Find<int(const char*, int, ...)>("open")(fault.hold.c_str(), O_RDONLY | O_CLOEXEC));
    else if (fault.signal != 0)
        kill(getpid(), fault.signal);
    errno = fault.error;
    return fault.error != 0;
}

bool Hits(Call i_call, int i_file)
{
    const Fault& fault = GetFault();
    if (!fault.isWanted || i_call != fault.call)
        return false;
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(i_file);
    const int error = errno;
    const auto size = readlink(link.c_str(), path.data(), path.size() - 1);
    errno = error;
    return size > 0 && Hits(i_call, path.data());
}

template <class Function, class... Arguments>
auto CallUnless(bool i_hits, const char* ip_name, Arguments... i_arguments)
{
    using Result = decltype(Find<Function>(ip_name)(i_arguments...));
    return i_hits ? static_cast<Result>(-1) : Find<Function>(ip_name)(i_arguments...);
}

using Open = int(const char*, int, ...);
using OpenAt = int(int, const char*, int, ...);
using Write = ssize_t(int, const void*, std::size_t);
using WriteAt = ssize_t(int, const void*, std::size_t, off_t);

/// The third argument of open, where there is one.
mode_t GetMode(int i_flags, std::va_list& io_arguments)
{
    return (i_flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(io_arguments, mode_t) : 0;
}

} // namespace

extern "C" {

int open(const char* ip_path, int i_flags, ...)
{
    std::va_list arguments;
    va_start(arguments, i_flags);
    const mode_t mode = GetMode(i_flags, arguments);
    va_end(arguments);
    return CallUnless<Open>(Hits(Call::Open, ip_path), "open", ip_path, i_flags, mode);
}

int open64(const char* ip_path, int i_flags, ...)
{
    std::va_list arguments;
    va_start(arguments, i_flags);
    const mode_t mode = GetMode(i_flags, arguments);
    va_end(arguments);
    return CallUnless<Open>(Hits(Call::Open, ip_path), "open64", ip_path, i_flags, mode);
}

int openat(int i_folder, const char* ip_path, int i_flags, ...)
{
    std::va_list arguments;
    va_start(arguments, i_flags);
    const mode_t mode = GetMode(i_flags, arguments);
    va_end(arguments);
    return CallUnless<OpenAt>(Hits(Call::Open, ip_path), "openat", i_folder, ip_path, i_flags, mode);
}

// What the others become when a library is compiled with checks.
int __open_2(const char* ip_path, int i_flags)
{
    return CallUnless<int(const char*, int)>(Hits(Call::Open, ip_path), "__open_2", ip_path, i_flags);
}

int __open64_2(const char* ip_path, int i_flags)
{
    return CallUnless<int(const char*, int)>(Hits(Call::Open, ip_path), "__open64_2", ip_path, i_flags);
}

std::FILE* fopen(const char* ip_path, const char* ip_mode)
{
    return Hits(Call::Open, ip_path) ? nullptr : Find<decltype(fopen)>("fopen")(ip_path, ip_mode);
}

std::FILE* fopen64(const char* ip_path, const char* ip_mode)
{
    return Hits(Call::Open, ip_path) ? nullptr : Find<decltype(fopen64)>("fopen64")(ip_path, ip_mode);
}

int mkstemp(char* iop_path)
{
    return CallUnless<int(char*)>(Hits(Call::Open, iop_path), "mkstemp", iop_path);
}

int mkstemp64(char* iop_path)
{
    return CallUnless<int(char*)>(Hits(Call::Open, iop_path), "mkstemp64", iop_path);
}

int mkostemp(char* iop_path, int i_flags)
{
    return CallUnless<int(char*, int)>(Hits(Call::Open, iop_path), "mkostemp", iop_path, i_flags);
}

int mkostemp64(char* iop_path, int i_flags)
{
    return CallUnless<int(char*, int)>(Hits(Call::Open, iop_path), "mkostemp64", iop_path, i_flags);
}

int mkstemps(char* iop_path, int i_suffix)
{
    return CallUnless<int(char*, int)>(Hits(Call::Open, iop_path), "mkstemps", iop_path, i_suffix);
}

ssize_t write(int i_file, const void* ip_bytes, std::size_t i_size)
{
    return CallUnless<Write>(Hits(Call::Write, i_file), "write", i_file, ip_bytes, i_size);
}

ssize_t pwrite(int i_file, const void* ip_bytes, std::size_t i_size, off_t i_offset)
{
    return CallUnless<WriteAt>(Hits(Call::Write, i_file), "pwrite", i_file, ip_bytes, i_size, i_offset);
}

ssize_t pwrite64(int i_file, const void* ip_bytes, std::size_t i_size, off64_t i_offset)
{
    return CallUnless<WriteAt>(Hits(Call::Write, i_file), "pwrite64", i_file, ip_bytes, i_size, i_offset);
}

ssize_t writev(int i_file, const iovec* ip_parts, int i_count)
{
    return CallUnless<ssize_t(int, const iovec*, int)>(Hits(Call::Write, i_file), "writev", i_file, ip_parts, i_count);
}

std::size_t fwrite(const void* ip_bytes, std::size_t i_size, std::size_t i_count, std::FILE* ip_file)
{
    return Hits(Call::Write, fileno(ip_file)) ? 0
                                              : Find<decltype(fwrite)>("fwrite")(ip_bytes, i_size, i_count, ip_file);
}

int fsync(int i_file)
{
    return CallUnless<int(int)>(Hits(Call::Sync, i_file), "fsync", i_file);
}

int fdatasync(int i_file)
{
    return CallUnless<int(int)>(Hits(Call::Sync, i_file), "fdatasync", i_file);
}

int rename(const char* ip_from, const char* ip_to) noexcept
{
    return CallUnless<int(const char*, const char*)>(Hits(Call::Rename, ip_to), "rename", ip_from, ip_to);
}

int renameat(int i_from, const char* ip_from, int i_to, const char* ip_to) noexcept
{
    return CallUnless<int(int, const char*, int, const char*)>(Hits(Call::Rename, ip_to), "renameat", i_from, ip_from,
                                                               i_to, ip_to);
}

int renameat2(int i_from, const char* ip_from, int i_to, const char* ip_to, unsigned int i_flags) noexcept
{
    return CallUnless<int(int, const char*, int, const char*, unsigned int)>(Hits(Call::Rename, ip_to), "renameat2",
                                                                             i_from, ip_from, i_to, ip_to, i_flags);
}

int link(const char* ip_from, const char* ip_to) noexcept
{
    return CallUnless<int(const char*, const char*)>(Hits(Call::Rename, ip_to), "link", ip_from, ip_to);
}

int mkdir(const char* ip_path, mode_t i_mode) noexcept
{
    return CallUnless<int(const char*, mode_t)>(Hits(Call::Mkdir, ip_path), "mkdir", ip_path, i_mode);
}

int mkdirat(int i_folder, const char* ip_path, mode_t i_mode) noexcept
{
    return CallUnless<int(int, const char*, mode_t)>(Hits(Call::Mkdir, ip_path), "mkdirat", i_folder, ip_path, i_mode);
}

char* mkdtemp(char* iop_path) noexcept
{
    return Hits(Call::Mkdir, iop_path) ? nullptr : Find<char*(char*)>("mkdtemp")(iop_path);
}
}
