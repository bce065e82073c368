#include "commands/JobListDialog.h"

#include "platform/PlainText.h"

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorui/MessageDialogs.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QRegularExpression>
#include <QString>

namespace MachineService::Helpers {

namespace {

constexpr int MaxUrlLength = 2000;
constexpr int MaxPort = 65535; // QUrl forgets a larger one in silence

bool IsWebAddress(const QUrl& i_url)
{
    const QString scheme = i_url.scheme();
    return i_url.isValid() && !i_url.host().isEmpty() &&
           (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

void OpenJobList(const JobListAddress& i_address)
{
    const QUrl url = AssembleUrl(i_address);
    if (IsWebAddress(url) && QDesktopServices::openUrl(url))
        return;
    // An address that is not valid has no text form; its parts still tell whom to ask.
    const QString text = url.isValid()
                             ? url.toString(QUrl::FullyEncoded)
                             : QString::fromStdString(i_address.scheme + "://" + i_address.host + i_address.path);
    Vexlor::MessageDialogs::ShowCritical(QCoreApplication::translate("PrinterHelpers", "Cannot open url: ") +
                                         ToPlainText(text, MaxUrlLength));
}

} // namespace

QUrl AssembleUrl(const JobListAddress& i_address)
{
    QUrl url;
    url.setScheme(QString::fromStdString(i_address.scheme));

    static const QRegularExpression mgp_with_port(QStringLiteral("^([^:]+|\\[[^\\]]+\\]):([0-9]{1,5})$"));
    const QString host = QString::fromStdString(i_address.host);
    const QRegularExpressionMatch match = mgp_with_port.match(host);
    const int port = match.captured(2).toInt();
    if (match.hasMatch() && port <= MaxPort) {
        url.setHost(match.captured(1));
        url.setPort(port);
    } else {
        url.setHost(host);
    }

    QString path = QString::fromStdString(i_address.path);
    if (!path.isEmpty() && !path.startsWith(QLatin1Char('/')))
        path.prepend(QLatin1Char('/'));
    url.setPath(path, QUrl::DecodedMode);
    if (!i_address.query.empty())
        url.setQuery(QString::fromStdString(i_address.query), QUrl::DecodedMode);
    if (!i_address.fragment.empty())
        url.setFragment(QString::fromStdString(i_address.fragment), QUrl::DecodedMode);
    return url;
}

void ShowPlatformSent(const JobListAddress& i_address, IVexlorApiProvider& io_api_provider)
{
    io_api_provider.InvokeOnUiThread([&i_address] {
        Vexlor::Message message;
        message.kind = Vexlor::Message::Kind::Information;
        message.title = QCoreApplication::translate("PrinterHelpers", "Platform sent");
        message.text =
            QCoreApplication::translate("PrinterHelpers", "The platform was successfully sent to processing.");
        message.buttons = QStringList{QCoreApplication::translate("PrinterHelpers", "OPEN JOB LIST"),
                                      QCoreApplication::translate("PrinterHelpers", "OK")};
        if (Vexlor::MessageDialogs::Show(message) == 0)
            OpenJobList(i_address);
    });
}

} // namespace MachineService::Helpers
