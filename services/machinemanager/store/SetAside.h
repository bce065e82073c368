#pragma once

#include "machinemanager/store/ConnectionPool.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

namespace MachineService::MachineManager {

/// Checks what is quick to check of a SQLite file, and renames one that is damaged, with the files beside it: what was
/// there is never overwritten. Makes the file where there is none, for its owner alone.
///
/// \param i_log told when it was damaged.
/// \throws ManagerError Storage, also when the file cannot be read: that is no damage.
void SetAsideWhenDamaged(const Dialect& i_dialect, std::chrono::system_clock::time_point i_now,
                         const std::function<void(const std::string&)>& i_log);

/// What "PRAGMA quick_check" or "PRAGMA integrity_check" says; empty: the file is sound.
/// \throws SqlFailure.
std::vector<std::string> CheckFile(Connection& io_connection, const char* ip_pragma);

} // namespace MachineService::MachineManager
