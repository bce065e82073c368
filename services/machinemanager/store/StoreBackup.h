#pragma once

#include "machinemanager/store/JobStore.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace MachineService::MachineManager {

class ConnectionPool;

/// What JobStore::Backup wrote, with any database and by this version or an earlier one: checked, and brought up to
/// date in a temporary copy. The backup stays as it is.
///
/// Thread: one at a time.
class StoreBackup
{
public:
    /// \throws ManagerError BadInput: it is no backup, damaged, or of a newer version; Storage.
    explicit StoreBackup(const std::filesystem::path& i_backup,
                         const std::function<void(const std::string&)>& i_log = {});
    ~StoreBackup();
    StoreBackup(const StoreBackup&) = delete;
    StoreBackup& operator=(const StoreBackup&) = delete;

    std::int64_t CountJobs() const;
    /// Hashes of the files that its jobs have. Those of jobs that were only coming in are not there yet.
    std::set<std::string> GetFiles() const;

    /// For the store.
    ConnectionPool& GetPool() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
