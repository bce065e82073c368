#pragma once

#include "client/interface/CommandTypes.h"

#include <functional>
#include <future>
#include <memory>

namespace VexlorCore {
class IJobProgress;
}

namespace MachineService::Helpers {

/// An operation of a machine that takes command parameters and answers with a command result.
using MachineOperation = std::function<std::future<CommandResult>(const CommandParameters&)>;

/// Starts an operation of a machine and waits for its answer.
///
/// Passes the service's progress on to the display. When the user cancels, the service is told through the parameters'
/// stop token and has 0.4 s to come to an end; after that nobody waits for it any more.
///
/// Thread: the job's; only this thread touches the display, whatever a service does later with the parameters.
/// \throws CommunicationException ProcessingAborted after a cancellation, whatever the service answered, unless it had
/// already submitted the job; what the service stored.
CommandResult AwaitServiceAnswer(const MachineOperation& i_operation, CommandParameters i_parameters,
                                 VexlorCore::IJobProgress& io_progress);

} // namespace MachineService::Helpers
