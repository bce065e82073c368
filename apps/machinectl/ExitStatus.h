#pragma once

#include <span>

namespace MachineCtl {

/// What the program ends with; the table behind GetExitStatuses documents them.
enum ExitStatus : int
{
    Succeeded = 0,
    Failed = 1,
    WrongUsage = 2,
    NotFound = 3,
    Conflict = 4,
    Forbidden = 5,
    NotReached = 6,
    Unsound = 7,
    Interrupted = 130,
};

struct ExitStatusInfo
{
    ExitStatus status;
    const char* help; ///< context MachineCtl::Table
};

std::span<const ExitStatusInfo> GetExitStatuses();

} // namespace MachineCtl
