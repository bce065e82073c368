#include "commands/FailureReport.h"

#include "platform/FailureText.h"

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorui/MessageDialogs.h"

#include <QLoggingCategory>

namespace MachineService::Helpers {

namespace {

Q_LOGGING_CATEGORY(CommandsLog, "machineservice.commands")

// A getter that fails may be the very failure to be shown.
IVexlorApiProvider* TryGetProvider(const VexlorCore::ApiProviderGetter& i_api_provider) noexcept
{
    try {
        return &i_api_provider();
    } catch (...) {
        return nullptr;
    }
}

} // namespace

void ShowFailure(const VexlorCore::ApiProviderGetter& i_api_provider, const QString& i_text) noexcept
{
    const auto show = [&i_text] {
        Vexlor::MessageDialogs::ShowCritical(i_text);
    };
    try {
        IVexlorApiProvider* const provider = TryGetProvider(i_api_provider);
        if (provider)
            provider->InvokeOnUiThread(show);
        else
            show();
    } catch (...) {
        // Nobody is left to be told but the log. No second try: the box may have been on the screen already.
        qCWarning(CommandsLog) << "A message could not be shown:" << i_text;
    }
}

bool ReportFailures(const VexlorCore::ApiProviderGetter& i_api_provider,
                    const std::function<bool()>& i_operation) noexcept
{
    QString failure;
    try {
        return i_operation();
    } catch (...) {
        failure = DescribeCurrentException();
    }
    // Outside the handler: the exception is gone, and with it whatever it held of the host or the service.
    ShowFailure(i_api_provider, failure);
    return false;
}

} // namespace MachineService::Helpers
