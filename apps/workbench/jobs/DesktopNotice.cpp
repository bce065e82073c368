#include "workbench/jobs/DesktopNotice.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVariantMap>
#include <QWidget>

namespace Workbench {

void TellDesktop(QWidget& io_window, const QString& i_title, const QString& i_text)
{
    if (io_window.isActiveWindow())
        return;
    QApplication::alert(&io_window);
    // Without an address the bus would be looked for by starting one, which takes its time.
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
        return;
    // As desktops take notices since version 1.2 of org.freedesktop.Notifications.
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
        QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
    call << QApplication::applicationDisplayName() << 0U << QApplication::desktopFileName() << i_title
         << i_text.toHtmlEscaped() << QStringList() << QVariantMap() << -1;
    QDBusConnection::sessionBus().asyncCall(call);
}

} // namespace Workbench
