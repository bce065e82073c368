#pragma once

#include <QString>

#include <functional>

class IVexlorApiProvider;

namespace MachineService::Helpers {

/// The user's sentence for the exception that is being handled. Call it in a catch block only; throws nothing of its
/// own but std::bad_alloc. An exception that was thrown by pointer is freed.
QString DescribeCurrentException();

/// Shows one critical message box with an OK button and waits for it; says so in the log when it cannot be shown, for
/// example because the host is going down. Thread: any.
void ShowFailure(const std::function<IVexlorApiProvider&()>& i_api_provider, const QString& i_text) noexcept;

/// Runs an operation; whatever it throws ends here, in one critical message box and false. Thread: any.
bool ReportFailures(const std::function<IVexlorApiProvider&()>& i_api_provider,
                    const std::function<bool()>& i_operation) noexcept;

} // namespace MachineService::Helpers
