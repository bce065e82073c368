#include "machinemanager/store/FileCalls.h"

#include "machinemanager/jobs/ManagerError.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace MachineService::MachineManager {

std::string ShowFile(const std::filesystem::path& i_path)
{
    return TavSDK::Quote(TavSDK::ShowPath(i_path));
}

void FailStorage(const std::filesystem::path& i_path, const char* ip_what, int i_errno)
{
    const bool isFull = i_errno == ENOSPC || i_errno == EDQUOT || i_errno == EFBIG;
    throw ManagerError(
        ManagerError::Kind::Storage,
        "The kept file " + ShowFile(i_path) + ' ' + ip_what + ": " + TavSDK::ErrnoText(i_errno) +
            (isFull ? ". Make room on the disk, then try again." : ". Look at the disk and the rights to the folder."));
}

void MakeFolder(const std::filesystem::path& i_folder)
{
    if (::mkdir(i_folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        FailStorage(i_folder, "cannot be made");
}

FileDescriptor OpenFolder(const std::filesystem::path& i_folder)
{
    FileDescriptor folder(::open(i_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.IsOpen())
        FailStorage(i_folder, "cannot be opened");
    return folder;
}

void Lock(const FileDescriptor& i_file, const std::filesystem::path& i_path, int i_kind)
{
    while (::flock(i_file.Get(), i_kind) != 0) {
        if (errno != EINTR)
            FailStorage(i_path, "cannot be locked");
    }
}

void Sync(const FileDescriptor& i_file, const std::filesystem::path& i_path, bool i_is_folder)
{
    while (::fsync(i_file.Get()) != 0) {
        // Some file systems know no such thing for folders.
        if (i_is_folder && (errno == EINVAL || errno == ENOTSUP))
            return;
        if (errno != EINTR)
            FailStorage(i_path, "cannot be brought to the disk");
    }
}

void WriteAll(const FileDescriptor& i_file, const std::filesystem::path& i_path, std::string_view i_bytes)
{
    while (!i_bytes.empty()) {
        const auto count = ::write(i_file.Get(), i_bytes.data(), i_bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            FailStorage(i_path, "cannot be written");
        i_bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::uint64_t GetSize(const FileDescriptor& i_file, const std::filesystem::path& i_path)
{
    struct stat status = {};
    if (::fstat(i_file.Get(), &status) != 0)
        FailStorage(i_path, "cannot be looked at");
    return static_cast<std::uint64_t>(status.st_size);
}

} // namespace MachineService::MachineManager
