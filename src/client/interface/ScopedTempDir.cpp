#include "client/interface/ScopedTempDir.h"

#include "client/interface/CommunicationException.h"

#include <fnmatch.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace MachineService {

namespace {

[[noreturn]] void ThrowFileError(const std::string& i_what)
{
    throw CommunicationException(ErrorCode::FileError, i_what.c_str());
}

} // namespace

ScopedTempDir::ScopedTempDir()
{
    std::error_code error;
    const std::filesystem::path base = std::filesystem::temp_directory_path(error);
    if (error)
        ThrowFileError("The folder for temporary files cannot be used: " + error.message());
    std::string name = (base / "machineservice-XXXXXX").string();
    // mkdtemp makes the folder 0700 whatever the umask.
    if (!mkdtemp(name.data()))
        ThrowFileError("Failed to create a temporary folder in '" + base.string() +
                       "': " + std::generic_category().message(errno));
    _dir = name;
}

ScopedTempDir::~ScopedTempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(_dir, ignored);
}

std::filesystem::path ScopedTempDir::GetAbsoluteDir() const
{
    return _dir;
}

std::filesystem::path ScopedTempDir::GetAbsoluteFileNameInTempDir(const std::string& i_file_name) const
{
    if (i_file_name.empty() || i_file_name == "." || i_file_name == ".." ||
        i_file_name.find_first_of(std::string("/\0", 2)) != std::string::npos)
        ThrowFileError("'" + i_file_name + "' is not a file name.");
    return _dir / i_file_name;
}

std::vector<std::filesystem::path> ScopedTempDir::GetFilesByFilter(const std::string& i_filter) const
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(_dir)) {
        // A link could lead outside the folder: only plain files count.
        if (entry.symlink_status().type() == std::filesystem::file_type::regular &&
            fnmatch(i_filter.c_str(), entry.path().filename().c_str(), FNM_CASEFOLD) == 0)
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace MachineService
