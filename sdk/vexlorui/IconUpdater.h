#pragma once

#include "vexlorui_export.h"

#include <QIcon>
#include <QString>

#include <functional>

namespace Vexlor::UICommands {

/// The host's icons of commands that bring their own: an icon registered under a command's id replaces the host's.
///
/// Thread: UI thread; an icon is made of pixmaps.
class VEXLORUI_EXPORT IconUpdater
{
public:
    /// A null icon takes the registered one away.
    static void RegisterIcon(const QString& i_command_id, const QIcon& i_icon);
    /// Null when none is registered.
    static QIcon GetIcon(const QString& i_command_id);

    /// Called after each registration; the host's ribbon redraws the command. What it throws ends in the log.
    /// \return the former handler.
    using Handler = std::function<void(const QString& i_command_id)>;
    static Handler SetHandler(Handler i_handler);
};

} // namespace Vexlor::UICommands
