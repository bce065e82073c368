#include "vexlorui/IconUpdater.h"

#include "tavsdk/StopExceptions.h"

#include <QHash>
#include <QLoggingCategory>

#include <utility>

namespace Vexlor::UICommands {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.host.icons")

/// UI thread only.
struct Icons
{
    QHash<QString, QIcon> byCommand;
    IconUpdater::Handler handler;
};

Icons& GetIcons()
{
    static Icons icons;
    return icons;
}

} // namespace

void IconUpdater::RegisterIcon(const QString& i_command_id, const QIcon& i_icon)
{
    auto& icons = GetIcons();
    if (i_icon.isNull())
        icons.byCommand.remove(i_command_id);
    else
        icons.byCommand.insert(i_command_id, i_icon);
    if (const auto handler = icons.handler)
        TavSDK::StopExceptions([&] { handler(i_command_id); },
                               [](const char* ip_why) { qCWarning(log, "A command cannot be redrawn: %s", ip_why); });
}

QIcon IconUpdater::GetIcon(const QString& i_command_id)
{
    return GetIcons().byCommand.value(i_command_id);
}

IconUpdater::Handler IconUpdater::SetHandler(Handler i_handler)
{
    return std::exchange(GetIcons().handler, std::move(i_handler));
}

} // namespace Vexlor::UICommands
