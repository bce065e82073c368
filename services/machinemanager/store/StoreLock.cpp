#include "machinemanager/store/StoreLock.h"

#include "machinemanager/jobs/ManagerError.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

std::string Show(const std::filesystem::path& i_path)
{
    return TavSDK::Quote(TavSDK::ShowPath(i_path));
}

void MakeFolder(const std::filesystem::path& i_folder)
{
    if (i_folder.empty() || ::mkdir(i_folder.c_str(), S_IRWXU) == 0 || errno == EEXIST)
        return;
    if (errno == ENOENT && i_folder != i_folder.parent_path()) {
        MakeFolder(i_folder.parent_path());
        if (::mkdir(i_folder.c_str(), S_IRWXU) == 0 || errno == EEXIST)
            return;
    }
    throw ManagerError(ManagerError::Kind::Storage, "The folder of the job store, " + Show(i_folder) +
                                                        ", cannot be made: " + TavSDK::ErrnoText(errno) +
                                                        ". Look at the rights to it, or name another one.");
}

} // namespace

StoreLock::StoreLock(const std::filesystem::path& i_store)
{
    MakeFolder(i_store.parent_path());
    auto path = i_store;
    path += ".lock";
    _file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const bool isLocked = _file >= 0 && ::flock(_file, LOCK_EX | LOCK_NB) == 0;
    if (isLocked)
        return;
    const int failure = errno;
    if (_file >= 0)
        ::close(_file);
    if (failure == EWOULDBLOCK)
        throw ManagerError(ManagerError::Kind::Storage,
                           "The job store " + Show(i_store) +
                               " is used by another process. Use that one, or name another store.");
    throw ManagerError(ManagerError::Kind::Storage, "The job store " + Show(i_store) +
                                                        " cannot be locked: " + TavSDK::ErrnoText(failure) +
                                                        ". Look at its folder and the rights to it.");
}

StoreLock::~StoreLock()
{
    ::close(_file);
}

} // namespace MachineService::MachineManager
