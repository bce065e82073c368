#include "tavsdk/RuntimeFolder.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace TavSDK {

std::filesystem::path GetRuntimeFolder()
{
    const char* const told = std::getenv("XDG_RUNTIME_DIR");
    if (told && *told == '/')
        return told;
    // Not TMPDIR, which differs between programs that are to find each other.
    const std::filesystem::path folder = "/tmp/machineservice-" + std::to_string(geteuid());
    mkdir(folder.c_str(), S_IRWXU);
    struct stat entry = {};
    // Whoever may write to /tmp could have made it before.
    if (lstat(folder.c_str(), &entry) != 0 || !S_ISDIR(entry.st_mode) || entry.st_uid != geteuid() ||
        (entry.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw FileError("The folder " + Quote(ShowPath(folder)) +
                        " is not the user's alone; remove it, or set XDG_RUNTIME_DIR to another one.");
    return folder;
}

} // namespace TavSDK
