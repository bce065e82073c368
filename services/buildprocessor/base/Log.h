#pragma once

#include <QLoggingCategory>

namespace MachineService::BuildProcessor {

/// "machineservice.buildprocessor"
Q_DECLARE_LOGGING_CATEGORY(ServiceLog)

} // namespace MachineService::BuildProcessor
