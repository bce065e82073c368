#include "tavsdk/RunFolder.h"

#include "tavsdk/FileError.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TavSDK {

namespace {

constexpr int MaxAttempts = 10;

int OpenFolder(const std::filesystem::path& i_path)
{
    return open(i_path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// Whether the open folder is this user's and has this name still.
bool IsOurs(int i_folder, const std::filesystem::path& i_path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(i_folder, &opened) == 0 && lstat(i_path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev && opened.st_uid == geteuid();
}

std::vector<std::filesystem::path> FindFolders(const std::filesystem::path& i_parent, const std::string& i_name)
{
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(i_parent, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename().string().starts_with(i_name))
            found.push_back(entry->path());
    }
    return found;
}

void RemoveAbandoned(const std::filesystem::path& i_parent, const std::string& i_name)
{
    for (const auto& path : FindFolders(i_parent, i_name)) {
        const int folder = OpenFolder(path);
        if (folder < 0)
            continue;
        if (flock(folder, LOCK_EX | LOCK_NB) == 0 && IsOurs(folder, path)) {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
        close(folder);
    }
}

} // namespace

RunFolder::RunFolder(const std::filesystem::path& i_parent, const std::string& i_name)
    : _name(i_name)
{
    RemoveAbandoned(i_parent, i_name);
    const auto fail = [](int i_error) {
        throw FileError(ErrnoText(i_error));
    };
    // Another run that removes what is abandoned may find the new folder before it is locked.
    for (int attempt = 0; _lock < 0; ++attempt) {
        if (attempt == MaxAttempts)
            fail(EBUSY);
        std::string path = (i_parent / (i_name + "XXXXXX")).string();
        if (!mkdtemp(path.data()))
            fail(errno);
        const int folder = OpenFolder(path);
        if (folder < 0 && errno != ENOENT) {
            const int error = errno;
            rmdir(path.c_str());
            fail(error);
        }
        const bool isLocked = folder >= 0 && (flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK);
        if (isLocked && IsOurs(folder, path)) {
            _path = path;
            _lock = folder;
        } else if (folder >= 0) {
            close(folder);
        }
    }
}

RunFolder::~RunFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
    close(_lock);
}

bool RunFolder::HasNeighbours() const
{
    return FindFolders(_path.parent_path(), _name).size() > 1;
}

} // namespace TavSDK
