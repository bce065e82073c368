#include "client/interface/ScopedTempDir.h"

#include "client/interface/CommunicationException.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/RemoveFolder.h"
#include "tavsdk/Text.h"

#include <fnmatch.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>

namespace MachineService {

namespace {

[[noreturn]] void ThrowFileError(const std::string& i_what)
{
    throw CommunicationException(ErrorCode::FileError, i_what.c_str());
}

} // namespace

ScopedTempDir::ScopedTempDir()
{
    std::filesystem::path base;
    try {
        base = TavSDK::GetTemporaryFolder();
    } catch (const TavSDK::FileError& error) {
        ThrowFileError(error.what());
    }
    std::string name = base / "machineservice-XXXXXX";
    // mkdtemp makes the folder 0700 whatever the umask.
    if (!mkdtemp(name.data()))
        ThrowFileError("Failed to create a temporary folder in '" + TavSDK::ShowPath(base) +
                       "': " + TavSDK::ErrnoText(errno) + '.');
    _dir = name;
}

ScopedTempDir::~ScopedTempDir()
{
    TavSDK::RemoveFolder(_dir);
}

std::filesystem::path ScopedTempDir::GetAbsoluteDir() const
{
    return _dir;
}

std::filesystem::path ScopedTempDir::GetAbsoluteFileNameInTempDir(const std::string& i_file_name) const
{
    if (i_file_name.empty() || i_file_name == "." || i_file_name == ".." ||
        i_file_name.find_first_of(std::string("/\0", 2)) != std::string::npos)
        ThrowFileError(TavSDK::Quote(i_file_name) + " is not a file name.");
    return _dir / i_file_name;
}

std::vector<std::filesystem::path> ScopedTempDir::GetFilesByFilter(const std::string& i_filter) const
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(_dir, error), end; !error && entry != end; entry.increment(error)) {
        // A link could lead outside the folder: only plain files count.
        std::error_code gone;
        if (entry->symlink_status(gone).type() == std::filesystem::file_type::regular &&
            fnmatch(i_filter.c_str(), entry->path().filename().c_str(), FNM_CASEFOLD) == 0)
            files.push_back(entry->path());
    }
    if (error)
        ThrowFileError("The folder '" + _dir.string() + "' cannot be read: " + error.message() + '.');
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace MachineService
