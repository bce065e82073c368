#pragma once

#include <QString>

class QWidget;

namespace Workbench {

/// Tells the user of something while the window is not in front; nothing while it is. Desktops that take no notices
/// mark the window in their list of windows only.
///
/// Thread: UI thread; does not wait for the desktop.
void TellDesktop(QWidget& io_window, const QString& i_title, const QString& i_text);

} // namespace Workbench
