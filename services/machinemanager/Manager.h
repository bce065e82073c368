#pragma once

#include "machinemanager/ManagerCatalog.h"
#include "machinemanager/dispatch/Dispatcher.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace MachineService::MachineManager {

class JobStore;

/// Where a manager keeps what it has, and for how long.
struct ManagerOptions
{
    std::string store;           ///< StoreOptions::address
    std::filesystem::path files; ///< folder; the same for all daemons at one store
    std::string daemon = "machined";
    std::string owner;                                     ///< of the jobs that hosts post
    std::chrono::hours kept = std::chrono::hours(24 * 90); ///< of jobs that are over, with their files
    std::uint64_t keptBytes = 50ULL << 30;                 ///< of all files; the oldest jobs that are over go first
    std::uint64_t largestPlatform = LargestPlatform;       ///< bytes of a platform file
    DispatchOptions dispatch;
    std::function<Time()> now; ///< empty: the system's clock
    std::function<void(const std::string&)> log;
};

/// The Machine Manager: store, files, board, desk and dispatch put together.
///
/// Normal use: `Manager manager(options, catalog); manager.Start(); …; manager.Stop();`
///
/// Thread: Start and Stop one at a time.
/// Ownership: the catalog is not owned and must outlive it.
class Manager
{
public:
    /// Opens the store.
    /// \param io_catalog offers the machines that jobs are carried out on.
    /// \throws ManagerError Storage.
    Manager(ManagerOptions i_options, AbstractMachinesCatalog& io_catalog);
    ~Manager();
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    void Start();
    /// Twice is harmless.
    void Stop();
    JobDesk& GetDesk();
    JobStore& GetStore();
    /// The machines as hosts see them. It must go before the manager.
    /// \param i_find_actor whose the jobs are, by the caller's name; empty: the owner's.
    std::unique_ptr<AbstractServiceCatalog>
    MakeCatalog(std::function<JobListAddress(const boost::uuids::uuid& i_job, const Actor& i_actor)> i_get_address,
                std::function<Actor(const std::string& i_caller)> i_find_actor = {});
    /// Nothing is carried out, and nothing waits that could be.
    bool IsIdle() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
