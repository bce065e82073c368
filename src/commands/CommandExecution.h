#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/Machine.h"
#include "commands/HostContext.h"
#include "machineservice_export.h"

namespace MachineService {

struct CommandKind;

namespace Helpers {

/// What a printer's command does when the user clicks it, by its kind.
///
/// Gives the scene to the machine in a temporary folder, waits for its answer under the host's progress display and
/// loads what comes back into the scene. A job for the Machine Manager is confirmed by the host first; a refusal ends
/// quietly in false. After a confirmed one the host's last recorded operation is taken out of its history, whatever
/// became of the job; not when the job could not be started.
///
/// Thread: UI thread, whose event loop turns meanwhile.
/// Errors: throws nothing. A failure, a cancellation included, ends in exactly one critical message box and false.
/// \return true when the command succeeded; false, without a word, for a kind that this library does not know.
MACHINESERVICE_EXPORT bool RunPrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                                             const HostContext& i_host);

/// The same as another kind than the description's.
bool RunAsKind(const CommandKind& i_kind, const CommandDescription& i_description, const Machine& i_machine,
               const HostContext& i_host);

} // namespace Helpers
} // namespace MachineService
