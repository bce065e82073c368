#pragma once

#include <filesystem>

namespace MachineService::MachineManager {

/// Lets one process, and in it one object, use a SQLite store. Goes with its holder, however that ends.
///
/// Errors: ManagerError Storage when another one has it.
class StoreLock
{
public:
    /// \param i_store its folder is made where there is none, for its owner alone.
    explicit StoreLock(const std::filesystem::path& i_store);
    ~StoreLock();
    StoreLock(const StoreLock&) = delete;
    StoreLock& operator=(const StoreLock&) = delete;

private:
    int _file = -1;
};

} // namespace MachineService::MachineManager
