#pragma once

#include "commands/PrinterCommandManager.h"
#include "hosting/RibbonModel.h"

#include <QAction>
#include <QHash>
#include <QPointer>
#include <QTimer>
#include <QToolBar>

#include <functional>
#include <memory>

namespace Hosting {
class Host;
}

namespace Workbench {

class CommandButton;

/// The commands of the active scene's printer as a toolbar: in their order, with what they are called, why one is
/// refused, and a shortcut for those that every printer has.
///
/// While it is seen it asks every half second, so that it is true within 1.5 s: the answers come from a cache.
class PrinterRibbon final : public QToolBar
{
    Q_OBJECT

public:
    /// \param i_run runs a command; the ribbon, and the command, may be gone when it returns.
    using Run = std::function<void(const QString& i_id)>;
    PrinterRibbon(Hosting::Host& io_host, Run i_run, QWidget* ip_parent = nullptr);
    ~PrinterRibbon() override;

    MachineService::PrinterCommandManager& GetManager() { return *_manager; }
    /// Looks at everything now: another language, a job that began or ended.
    void Renew();
    void UpdateCommands();
    /// In order, as shown.
    QList<CommandButton*> GetButtons() const { return _buttons; }
    CommandButton* FindButton(const QString& i_id) const;
    static QIcon GetIcon(const Vexlor::UICommands::UiCommand& i_command);
    static QKeySequence GetShortcut(const QString& i_id);

Q_SIGNALS:
    /// Why a command that was clicked is refused.
    void RefusalShown(const QString& i_why);

protected:
    void showEvent(QShowEvent* ip_event) override;
    void hideEvent(QHideEvent* ip_event) override;
    void changeEvent(QEvent* ip_event) override;

private:
    void _MakeManager();
    void _Build();
    void _Show(CommandButton& io_button, const QString& i_id);

    Hosting::Host& _host;
    Run _run;
    std::unique_ptr<MachineService::PrinterCommandManager> _manager;
    std::unique_ptr<Hosting::RibbonModel> _model;
    QTimer _timer;
    QTimer _rebuild; ///< once for all changes of a turn of the event loop
    QList<CommandButton*> _buttons;
};

} // namespace Workbench
