#include "tavsdk/RemoveFolder.h"

#include <cerrno>
#include <memory>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TavSDK {

namespace {

/// Whoever still writes is soon done, or is being ended: new files come a few times at most.
constexpr int Attempts = 100;
/// Of folders in folders; each holds one descriptor.
constexpr int DeepestLevel = 200;

struct FolderCloser
{
    void operator()(DIR* ip_folder) const { ::closedir(ip_folder); }
};

bool RemoveEntry(int i_parent, const char* ip_name, int i_level);

/// One pass over what is in a folder.
void RemoveContent(int i_parent, const char* ip_name, int i_level)
{
    // Without these rights its owner could neither list nor empty it. Never through a link: O_NOFOLLOW below, and a
    // link that takes the place of the folder in between is its owner's own doing.
    ::fchmodat(i_parent, ip_name, S_IRWXU, 0);
    const int file = ::openat(i_parent, ip_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0)
        return;
    const std::unique_ptr<DIR, FolderCloser> folder(::fdopendir(file));
    if (!folder) {
        ::close(file);
        return;
    }
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            RemoveEntry(file, name.c_str(), i_level + 1);
    }
}

bool RemoveEntry(int i_parent, const char* ip_name, int i_level)
{
    struct stat status = {};
    if (::fstatat(i_parent, ip_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT;
    if (!S_ISDIR(status.st_mode))
        return ::unlinkat(i_parent, ip_name, 0) == 0 || errno == ENOENT;
    for (int attempt = 0; attempt < Attempts && i_level < DeepestLevel; ++attempt) {
        if (::unlinkat(i_parent, ip_name, AT_REMOVEDIR) == 0 || errno == ENOENT)
            return true;
        if (errno != ENOTEMPTY && errno != EEXIST)
            return false;
        RemoveContent(i_parent, ip_name, i_level);
    }
    return false;
}

} // namespace

bool RemoveFolder(const std::filesystem::path& i_folder) noexcept
try {
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        struct stat status = {};
        if (::lstat(i_folder.c_str(), &status) != 0)
            return errno == ENOENT;
        // A name that nobody has: the folder's own, and what is the folder's alone.
        const std::filesystem::path gone = i_folder.parent_path() / (".removed-" + std::to_string(status.st_dev) + "-" +
                                                                     std::to_string(status.st_ino));
        const bool isRenamed = ::rename(i_folder.c_str(), gone.c_str()) == 0;
        if (!RemoveEntry(AT_FDCWD, isRenamed ? gone.c_str() : i_folder.c_str(), 0))
            return false;
    }
    return false;
} catch (...) {
    return false;
}

} // namespace TavSDK
