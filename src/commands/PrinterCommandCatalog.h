#pragma once

#include "client/interface/Machine.h"
#include "commands/CommandExecution.h"
#include "commands/PrinterCommand.h"

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace MachineService {

/// What the commands of a printer need of the host; empty functions are errors of the one who makes the commands.
struct CommandGetters
{
    Helpers::DataSetGetter dataSet;
    Helpers::ApiProviderGetter apiProvider;
    std::function<QString()> text; ///< goes to the machine's own commands when they run
};

/// The commands that the machine offers now, without those of unknown kind; none while the machine's list is not ready:
/// nobody waits for a service here. \throws what the service stored.
std::vector<CommandDescription> GetKnownCommands(const Machine& i_machine);

/// One command of the ribbon with its texts, icon, place, what it runs and when it is enabled. It keeps copies of
/// everything but the icon's bytes. Thread: UI thread, for the icon. \return null for an unknown kind.
std::unique_ptr<PrinterCommand> CreatePrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                                                     const CommandGetters& i_getters);

/// A command for each description, in the machine's order.
std::vector<std::unique_ptr<PrinterCommand>> CreatePrinterCommands(const Machine& i_machine,
                                                                   const CommandGetters& i_getters);

} // namespace MachineService
