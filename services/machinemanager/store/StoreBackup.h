#pragma once

#include "machinemanager/store/JobStore.h"

#include <filesystem>

namespace MachineService::MachineManager {

class FileStore;

/// Puts what JobStore::Backup wrote, with any database and by this version or an earlier one, into a store that is
/// empty; makes the store where there is none. The backup stays as it is.
///
/// Thread: any; nobody else may use the store meanwhile.
/// \throws ManagerError BadInput: it is no backup; Conflict: the store is not empty; Storage. The store is empty then.
void RestoreStore(const std::filesystem::path& i_backup, const StoreOptions& i_options);

/// Looks for the files that the jobs of a store need.
/// \param i_is_whole reads them all and compares their content; otherwise looks only whether they are there.
StoreReport CheckFiles(const JobStore& i_store, const FileStore& i_files, bool i_is_whole);

} // namespace MachineService::MachineManager
