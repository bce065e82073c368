#pragma once

#include "vexlorcore/IVexlorApiProvider.h"

#include <QString>

#include <functional>

namespace MachineService::Helpers {

/// Shows one critical message box with an OK button and waits for it; says so in the log when it cannot be shown, for
/// example because the host is going down.
/// Thread: any.
void ShowFailure(const VexlorCore::ApiProviderGetter& i_api_provider, const QString& i_text) noexcept;

/// Runs an operation; whatever it throws ends here, in one critical message box and false.
/// Thread: any.
bool ReportFailures(const VexlorCore::ApiProviderGetter& i_api_provider,
                    const std::function<bool()>& i_operation) noexcept;

} // namespace MachineService::Helpers
