#pragma once

#include "client/interface/AbstractPluginUtility.h"

#include <stop_token>
#include <string>

namespace MachineService {

/// Where the user's own Machine Manager is reached: "unix:PATH".
std::string GetManagerAddress();

/// Sees to it that the user's own Machine Manager runs: it is the same for all hosts of the user, outlives them, and
/// ends by itself when it has nothing to do.
///
/// The program is the setting "manager.program" of the utility, or the machined that was installed or built beside this
/// library, or that of the search path.
/// Thread: any, blocking for at most ten seconds.
/// \throws CommunicationException InternalError with a sentence; ProcessingAborted when the token asks.
void EnsureManager(const AbstractPluginUtility& i_utility, const std::stop_token& i_stop);

} // namespace MachineService
