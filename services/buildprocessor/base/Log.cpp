#include "buildprocessor/base/Log.h"

namespace MachineService::BuildProcessor {

Q_LOGGING_CATEGORY(ServiceLog, "machineservice.buildprocessor")

} // namespace MachineService::BuildProcessor
