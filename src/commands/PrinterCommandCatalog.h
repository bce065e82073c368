#pragma once

#include "client/interface/Machine.h"
#include "commands/HostContext.h"
#include "commands/PrinterCommand.h"

#include <memory>
#include <vector>

namespace MachineService {

/// The commands that the machine offers now, without those of unknown kind; none while the machine's list is not ready:
/// nobody waits for a service here.
/// \throws what the service stored.
std::vector<CommandDescription> GetKnownCommands(const Machine& i_machine);

/// One command of the ribbon with its texts, icon, place, what it runs and when it is enabled. It keeps copies of
/// everything but the icon's bytes.
/// Thread: UI thread, for the icon.
/// \return null for an unknown kind.
std::unique_ptr<PrinterCommand> CreatePrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                                                     const HostContext& i_host);

/// A command for each description, in the machine's order.
std::vector<std::unique_ptr<PrinterCommand>> CreatePrinterCommands(const Machine& i_machine, const HostContext& i_host);

} // namespace MachineService
