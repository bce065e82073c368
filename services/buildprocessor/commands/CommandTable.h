#pragma once

#include "buildprocessor/platform/JobInput.h"
#include "client/interface/CommandTypes.h"

#include <boost/uuid/uuid.hpp>

#include <vector>

namespace MachineService::BuildProcessor {

/// A command as every printer of this service offers it.
struct OfferedCommand
{
    CommandDescription description;
    bool needsQueue = true; ///< refused while the queue is paused, in error or offline
    bool slices = false;    ///< takes its turn among the machine's jobs; the others do not wait behind them
    CommandResult (*run)(const JobInput&) = nullptr;
};

/// What a machine offers, in the order in which it is shown; Build first. The ids are the same for every machine.
/// \param i_configures_connection of the machine's profile.
const std::vector<OfferedCommand>& GetOfferedCommands(bool i_configures_connection);

/// Null when there is no such command.
const OfferedCommand* FindOfferedCommand(const boost::uuids::uuid& i_id, bool i_configures_connection);

} // namespace MachineService::BuildProcessor
