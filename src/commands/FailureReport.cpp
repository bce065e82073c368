#include "commands/FailureReport.h"

#include "client/interface/CommunicationException.h"
#include "platform/ErrorMessages.h"

#include "vexlorcore/HostException.h"
#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorui/MessageDialogs.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <exception>
#include <memory>

namespace MachineService::Helpers {

namespace {

Q_LOGGING_CATEGORY(CommandsLog, "machineservice.commands")

// Texts of services reach the box: a few sentences can be read, megabytes cannot.
constexpr int MaxMessageLength = 4000;

QString GetTextOfCurrentException()
{
    try {
        throw;
    } catch (const CommunicationException& exception) {
        const QString text = QString::fromStdString(GetExceptionErrorMessage(exception));
        if (!text.isEmpty())
            return text;
        return QCoreApplication::translate("PrinterHelpers", "The command failed with error code %1.")
            .arg(static_cast<int>(exception.code()));
    } catch (const std::exception& exception) {
        return QString::fromUtf8(exception.what());
    } catch (const VexlorCore::HostException& exception) {
        return QString::fromStdWString(exception.GetErrorMessage());
    } catch (const VexlorCore::HostException* ip_exception) {
        const std::unique_ptr<const VexlorCore::HostException> exception(ip_exception);
        return exception ? QString::fromStdWString(exception->GetErrorMessage()) : QString();
    } catch (...) {
        return QString();
    }
}

// A getter that fails may be the very failure to be shown.
IVexlorApiProvider* TryGetProvider(const std::function<IVexlorApiProvider&()>& i_api_provider) noexcept
{
    try {
        return &i_api_provider();
    } catch (...) {
        return nullptr;
    }
}

} // namespace

QString DescribeCurrentException()
{
    const QString text = GetTextOfCurrentException();
    if (text.trimmed().isEmpty())
        return QCoreApplication::translate("PrinterHelpers", "The command failed for an unknown reason.");
    return text.left(MaxMessageLength);
}

void ShowFailure(const std::function<IVexlorApiProvider&()>& i_api_provider, const QString& i_text) noexcept
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

bool ReportFailures(const std::function<IVexlorApiProvider&()>& i_api_provider,
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
