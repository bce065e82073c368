#pragma once

#include "machinemanager/store/Connection.h"

#include <span>

namespace MachineService::MachineManager {

/// A table of a store, as backups copy it.
struct CopiedTable
{
    const char* name;
    const char* order;
    bool isNumbered; ///< its number counts up
};

/// Those that others refer to first.
std::span<const CopiedTable> GetCopiedTables();

/// Copies all rows of all tables between stores of the same version. The target's are empty.
void CopyTables(Connection& io_from, Connection& io_to);

} // namespace MachineService::MachineManager
