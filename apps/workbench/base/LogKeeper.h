#pragma once

#include <QStringList>

namespace Workbench {

/// The last lines of the program's log, kept for a report to the people who help. They go on to where Qt writes them.
///
/// Thread: any; what was logged by any thread is kept in the order in which it came.
namespace LogKeeper {

/// From here on, for the rest of the program.
void Install();
/// The oldest first; at most 2,000.
QStringList GetLines();
/// Whether the library's categories also tell what is only of use for finding a fault.
void SetDetailed(bool i_is_detailed);

} // namespace LogKeeper

} // namespace Workbench
