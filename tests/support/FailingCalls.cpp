#include "support/FailingCalls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Watch
{
    const std::string* call; ///< null when calls are only counted
    int index;
    int failure;
    std::map<std::string, int> counts;
};

thread_local Watch* mgp_watch = nullptr;

/// Is this the call that is to fail?
bool Fails(const char* ip_call)
{
    Watch* const watch = std::exchange(mgp_watch, nullptr);
    if (!watch)
        return false;
    const bool isMeant = watch->counts[ip_call]++ == watch->index && watch->call && *watch->call == ip_call;
    mgp_watch = watch;
    if (isMeant)
        errno = watch->failure;
    return isMeant;
}

template <class Function>
Function* GetReal(Function*, const char* ip_name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, ip_name));
}

} // namespace

#define REAL(name) GetReal(static_cast<decltype(&::name)>(nullptr), #name)

extern "C" {

int open(const char* ip_path, int i_flags, ...)
{
    va_list arguments;
    va_start(arguments, i_flags);
    const mode_t mode = (i_flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return Fails("open") ? -1 : REAL(open)(ip_path, i_flags, mode);
}

int mkostemp(char* iop_path, int i_flags)
{
    return Fails("mkostemp") ? -1 : REAL(mkostemp)(iop_path, i_flags);
}

int mkdir(const char* ip_path, mode_t i_mode) noexcept
{
    return Fails("mkdir") ? -1 : REAL(mkdir)(ip_path, i_mode);
}

ssize_t read(int i_file, void* op_bytes, size_t i_count)
{
    return Fails("read") ? -1 : REAL(read)(i_file, op_bytes, i_count);
}

ssize_t write(int i_file, const void* ip_bytes, size_t i_count)
{
    if (!Fails("write"))
        return REAL(write)(i_file, ip_bytes, i_count);
    return errno != 0 ? -1 : REAL(write)(i_file, ip_bytes, (i_count + 1) / 2);
}

off_t lseek(int i_file, off_t i_offset, int i_whence) noexcept
{
    return Fails("lseek") ? -1 : REAL(lseek)(i_file, i_offset, i_whence);
}

int ftruncate(int i_file, off_t i_size) noexcept
{
    return Fails("ftruncate") ? -1 : REAL(ftruncate)(i_file, i_size);
}

int fchmod(int i_file, mode_t i_mode) noexcept
{
    return Fails("fchmod") ? -1 : REAL(fchmod)(i_file, i_mode);
}

int fsync(int i_file)
{
    return Fails("fsync") ? -1 : REAL(fsync)(i_file);
}

int close(int i_file)
{
    if (!Fails("close"))
        return REAL(close)(i_file);
    const int failure = errno;
    REAL(close)(i_file);
    errno = failure;
    return -1;
}

int rename(const char* ip_from, const char* ip_to) noexcept
{
    return Fails("rename") ? -1 : REAL(rename)(ip_from, ip_to);
}

int renameat2(int i_from_folder, const char* ip_from, int i_to_folder, const char* ip_to, unsigned i_flags) noexcept
{
    return Fails("renameat2") ? -1 : REAL(renameat2)(i_from_folder, ip_from, i_to_folder, ip_to, i_flags);
}

} // extern "C"

namespace TestSupport {

namespace {

void Run(Watch& io_watch, const std::function<void()>& i_action)
{
    struct Ender
    {
        ~Ender() { mgp_watch = nullptr; }
    };
    const Ender ender;
    mgp_watch = &io_watch;
    i_action();
}

} // namespace

std::map<std::string, int> CountCalls(const std::function<void()>& i_action)
{
    Watch watch{nullptr, -1, 0, {}};
    Run(watch, i_action);
    return watch.counts;
}

void RunWithFailure(const std::string& i_call, int i_index, int i_errno, const std::function<void()>& i_action)
{
    Watch watch{&i_call, i_index, i_errno, {}};
    Run(watch, i_action);
}

const std::map<std::string, std::vector<int>>& GetErrorsOfCalls()
{
    static const std::map<std::string, std::vector<int>> errors = {
        {"open", {EACCES, EDQUOT, EIO, EMFILE, ENFILE, ENOENT, ENOSPC, EROFS}},
        {"mkostemp", {EACCES, EDQUOT, EIO, EMFILE, ENFILE, ENOENT, ENOSPC, EROFS}},
        {"mkdir", {EACCES, EDQUOT, EIO, EMLINK, ENOENT, ENOSPC, EROFS}},
        {"read", {EINTR, EIO, ESTALE}},
        {"write", {0, EINTR, EDQUOT, EFBIG, EIO, ENOSPC, ESTALE}},
        {"lseek", {EINVAL, EOVERFLOW}},
        {"ftruncate", {EFBIG, EIO, EROFS}},
        {"fchmod", {EIO, EPERM, EROFS}},
        {"fsync", {EINTR, EDQUOT, EINVAL, EIO, ENOSPC, ENOTSUP, ESTALE}},
        {"close", {EINTR, EDQUOT, EIO, ENOSPC, ESTALE}},
        {"rename", {EACCES, EDQUOT, EIO, EISDIR, ENOENT, ENOSPC, EROFS, ESTALE}},
        {"renameat2", {EACCES, EINVAL, EIO, ENOSPC, ENOSYS, EROFS}}};
    return errors;
}

} // namespace TestSupport
