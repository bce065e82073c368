#include "tavam/AtomicFile.h"

#include "tavam/FileError.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TavAM {

namespace {

[[noreturn]] void ThrowErrno()
{
    throw FileError(std::generic_category().message(errno));
}

} // namespace

AtomicFile::AtomicFile(std::filesystem::path i_target)
    : _target(std::move(i_target))
{
    const std::filesystem::path folder = _target.has_parent_path() ? _target.parent_path() : ".";
    // Not made from the target's name, which may have the longest length that a name can have.
    std::string path = (folder / ".unfinished-XXXXXX").string();
    _file = ::mkostemp(path.data(), O_CLOEXEC);
    if (_file < 0)
        ThrowErrno();
    _path = std::move(path);
    // mkostemp asks for these and the umask may take more away.
    ::fchmod(_file, S_IRUSR | S_IWUSR);
}

AtomicFile::~AtomicFile()
{
    if (_file >= 0)
        ::close(_file);
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

void AtomicFile::Sync()
{
    if (::fsync(_file) != 0)
        ThrowErrno();
}

void AtomicFile::TakeRightsOfTarget()
{
    struct stat status = {};
    // By name: whoever wrote it by name may have replaced the file that is open here.
    if (::stat(_target.c_str(), &status) == 0 && ::chmod(_path.c_str(), status.st_mode & 0777U) != 0)
        ThrowErrno();
}

void AtomicFile::Commit()
{
    _Close();
    if (std::rename(_path.c_str(), _target.c_str()) != 0)
        ThrowErrno();
    _path.clear();
}

bool AtomicFile::TryCommitAs(const std::filesystem::path& i_free_name)
{
    _Close();
    if (::renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, i_free_name.c_str(), RENAME_NOREPLACE) == 0) {
        _path.clear();
        return true;
    }
    // A file system that cannot: a linked name is as exclusive, and the temporary one goes with this object.
    if ((errno == EINVAL || errno == ENOSYS) && ::link(_path.c_str(), i_free_name.c_str()) == 0)
        return true;
    if (errno != EEXIST)
        ThrowErrno();
    return false;
}

/// Some file systems tell of a full disk only here.
void AtomicFile::_Close()
{
    if (_file >= 0 && ::close(std::exchange(_file, -1)) != 0)
        ThrowErrno();
}

} // namespace TavAM
