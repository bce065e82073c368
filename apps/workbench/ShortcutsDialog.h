#pragma once

#include <QDialog>

namespace Workbench {

/// All shortcuts of a window, of its menus, its plate and its ribbon, as they are now.
class ShortcutsDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit ShortcutsDialog(QWidget& i_window);
};

} // namespace Workbench
