#pragma once

#include <string>

namespace Machined {

/// Tells the service manager how the daemon is ("READY=1"), where there is one that asked to be told (NOTIFY_SOCKET).
void NotifyManager(const std::string& i_state);

} // namespace Machined
