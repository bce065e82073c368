#pragma once

#include "machinemanager/store/Transaction.h"

namespace MachineService::MachineManager {

/// The version that this program writes.
int GetStoreVersion();

/// 0: there is nothing yet.
/// \throws ManagerError Storage for a store of a later version, and for a database that is no job store.
int ReadStoreVersion(Connection& io_connection);

/// Brings the tables up to date, or makes them; each version in a transaction of its own.
/// \param i_last for tests: the version to stop at.
/// \throws ManagerError as ReadStoreVersion.
void Migrate(ConnectionPool& io_pool, const Transaction::Log& i_log, int i_last = GetStoreVersion());

} // namespace MachineService::MachineManager
