#pragma once

#include "machinectl/ExitStatus.h"

#include <QStringList>

namespace MachineCtl {

/// The whole program: understands the arguments, of which the first is its own name, and does what they say.
///
/// Thread: main thread, with a QCoreApplication whose event loop does not run yet. Never throws.
ExitStatus RunProgram(const QStringList& i_arguments);

} // namespace MachineCtl
