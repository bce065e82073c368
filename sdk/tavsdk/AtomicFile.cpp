#include "tavsdk/AtomicFile.h"

#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TavSDK {

namespace {

[[noreturn]] void ThrowErrno()
{
    throw FileError(ErrnoText(errno));
}

/// False with errno.
bool Sync(int i_file)
{
    while (::fsync(i_file) != 0) {
        if (errno != EINTR)
            return false;
    }
    return true;
}

/// Closes at the end of a scope that may be left by an exception.
void CloseOnce(int& io_file)
{
    if (io_file >= 0)
        ::close(std::exchange(io_file, -1));
}

} // namespace

AtomicFile::AtomicFile(std::filesystem::path i_target)
    : _target(std::move(i_target))
{
    const std::filesystem::path folder = _target.has_parent_path() ? _target.parent_path() : ".";
    // Not made from the target's name, which may have the longest length that a name can have.
    std::string path = PathToUtf8(folder / ".unfinished-XXXXXX");
    PathToUtf8(_target);
    // Opened now: a failure to do so must not come when the name is taken already.
    _folder = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (_folder < 0)
        ThrowErrno();
    _file = ::mkostemp(path.data(), O_CLOEXEC);
    if (_file >= 0)
        _path = path;
    // mkostemp asks for these and the umask may take more away.
    if (_file < 0 || ::fchmod(_file, S_IRUSR | S_IWUSR) != 0) {
        const int failure = errno;
        CloseOnce(_file);
        CloseOnce(_folder);
        if (!_path.empty())
            ::unlink(_path.c_str());
        throw FileError(ErrnoText(failure));
    }
}

AtomicFile::~AtomicFile()
{
    CloseOnce(_file);
    CloseOnce(_folder);
    if (!_path.empty())
        ::unlink(_path.c_str());
}

void AtomicFile::Write(std::string_view i_bytes)
{
    while (!i_bytes.empty()) {
        const auto count = ::write(_file, i_bytes.data(), i_bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            ThrowErrno();
        i_bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void AtomicFile::Copy(InputFile& io_source, const std::function<void()>& i_check)
{
    std::vector<char> buffer(1'000'000);
    for (std::size_t count = buffer.size(); count == buffer.size();) {
        if (i_check)
            i_check();
        count = io_source.Read(buffer.data(), buffer.size());
        Write({buffer.data(), count});
    }
}

void AtomicFile::TakeRightsOfTarget()
{
    struct stat status = {};
    if (::stat(_target.c_str(), &status) == 0 && ::fchmod(_file, status.st_mode & 0777U) != 0)
        ThrowErrno();
}

void AtomicFile::Commit()
{
    _Finish();
    if (::rename(_path.c_str(), _target.c_str()) != 0)
        ThrowErrno();
    _path.clear();
    _SyncFolder();
}

bool AtomicFile::TryCommitAs(const std::filesystem::path& i_free_name)
{
    _Finish();
    if (::renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, i_free_name.c_str(), RENAME_NOREPLACE) == 0)
        _path.clear();
    // A file system that cannot: a linked name is as exclusive, and the temporary one goes with this object.
    else if ((errno != EINVAL && errno != ENOSYS) || ::link(_path.c_str(), i_free_name.c_str()) != 0) {
        if (errno != EEXIST)
            ThrowErrno();
        return false;
    }
    _SyncFolder();
    return true;
}

/// Some file systems tell of a full disk only when the file is brought to the disk, or closed.
void AtomicFile::_Finish()
{
    if (_file < 0)
        return;
    if (!Sync(_file))
        ThrowErrno();
    // Interrupted or not, the file is closed and all of it is on the disk.
    if (::close(std::exchange(_file, -1)) != 0 && errno != EINTR)
        ThrowErrno();
}

void AtomicFile::_SyncFolder()
{
    // Some file systems know no such thing for folders.
    if (!Sync(_folder) && errno != EINVAL && errno != ENOTSUP)
        ThrowErrno();
}

} // namespace TavSDK
