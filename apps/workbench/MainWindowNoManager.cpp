#include "workbench/MainWindow.h"

#include <QMenu>

// The window of a program that is built without what speaks to a Machine Manager.

namespace Workbench {

void MainWindow::_MakeManager()
{
    QAction* const use = _actions->Get(MainActions::UseManager);
    _actions->GetMenu(MainActions::MachineMenu)->removeAction(use);
    use->setVisible(false);
}

void MainWindow::_RemovePostedPanel() {}

bool MainWindow::IsManagerSettled() const
{
    return true;
}

} // namespace Workbench
