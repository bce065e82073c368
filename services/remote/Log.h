#pragma once

#include <QLoggingCategory>

namespace MachineService::Remote {

Q_DECLARE_LOGGING_CATEGORY(RemoteLog)

} // namespace MachineService::Remote
