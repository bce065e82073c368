#pragma once

#include "vexlorui_export.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace Vexlor {

/// One message to the user.
struct Message
{
    enum class Kind
    {
        Information,
        Warning,
        Critical,
    };

    Kind kind = Kind::Information;
    QString title;       ///< may be empty: the host's name is shown instead
    QString text;        ///< plain text: never interpreted as markup
    QStringList buttons; ///< at least one, the last is what closing the box answers
};

/// Message boxes without a parent window. Any thread may call; the box is shown on the UI thread and the caller waits.
///
/// The host installs how a message is shown; without a handler it is logged and the last button is the answer.
class VEXLORUI_EXPORT MessageDialogs
{
public:
    /// Shows a message on the UI thread; returns the index of the button, 0 to buttons.size() - 1.
    using Handler = std::function<int(const Message&)>;

    /// Returns the former handler.
    /// Thread: UI thread.
    static Handler SetHandler(Handler i_handler);

    /// \throws std::runtime_error when the host is shutting down (see VexlorCore::UiThread).
    static int Show(const Message& i_message);
    /// A critical message with one OK button.
    static void ShowCritical(const QString& i_text);
};

} // namespace Vexlor
