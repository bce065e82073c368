#pragma once

#include "machined/Settings.h"

namespace Machined {

/// Serves until SIGTERM or SIGINT. These and SIGHUP are to be blocked in every thread before.
/// \throws std::exception with a sentence when it cannot begin.
void RunDaemon(const Settings& i_settings);
/// Looks at everything that can be wrong before the daemon begins.
/// \throws as RunDaemon.
void CheckSettings(const Settings& i_settings);
/// `machined token …`
/// \throws WrongUsage; std::exception with a sentence.
void RunTokenCommand(const Settings& i_settings);

} // namespace Machined
