#include "remote/Log.h"

namespace MachineService::Remote {

Q_LOGGING_CATEGORY(RemoteLog, "machineservice.remote")

} // namespace MachineService::Remote
