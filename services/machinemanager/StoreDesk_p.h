#pragma once

#include "machinemanager/StoreDesk.h"

#include "machinemanager/store/FileStore.h"
#include "machinemanager/store/JobStore.h"
#include "tavsdk/Mutex.h"

#include <chrono>
#include <map>

namespace MachineService::MachineManager {

struct StoreDesk::Impl
{
    /// A backup that somebody gets.
    struct Held
    {
        std::shared_ptr<void> hold;
        std::chrono::steady_clock::time_point used;
    };

    Impl(JobStore& io_store, FileStore& io_files)
        : store(io_store)
        , files(io_files)
    {}

    /// \throws ManagerError Forbidden.
    static void Require(const Actor& i_actor);
    /// Whoever gets a backup, or sends one, is still there.
    void Touch();
    void EndOld();
    /// A copy of the store with its files. \param o_files hashes that are needed. The folder is held.
    BackupContents Describe();
    /// \return the folder.
    std::filesystem::path SetAside();
    std::filesystem::path FillAside(const std::filesystem::path& i_folder);

    JobStore& store;
    FileStore& files;
    TavSDK::Mutex mutex; ///< guards held
    std::map<boost::uuids::uuid, Held> held TAVSDK_GUARDED_BY(mutex);
};

} // namespace MachineService::MachineManager
