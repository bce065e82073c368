#pragma once

#include "vexlorui/UpdatableContext.h"
#include "vexlorui_export.h"

#include <QIcon>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace Vexlor::UICommands {

/// Which licence features a command checks out when it runs; empty for none.
struct CheckOutRecord
{
    QStringList features;
};

/// One command of the host's ribbon: identity, texts, icon, enabling, execution.
///
/// Thread: its own (the UI thread once it is stored); it may be built on another and moved before anybody sees it.
class VEXLORUI_EXPORT UiCommand : public QObject
{
    Q_OBJECT

public:
    UiCommand(const QString& i_id, const CheckOutRecord& i_check_out, QObject* ip_parent);
    ~UiCommand() override;

    /// Unchangeable; unique within a storage.
    QString GetId() const;

    QString GetTitle() const;
    void SetTitle(const QString& i_title);
    QString GetToolTip() const;
    void SetToolTip(const QString& i_tool_tip);
    QString GetStatusTip() const;
    void SetStatusTip(const QString& i_status_tip);
    QIcon GetIcon() const;
    void SetIcon(const QIcon& i_icon);
    QStringList GetLayouts() const;
    void SetLayouts(const QStringList& i_layouts);
    QString GetContext() const;
    void SetContext(const QString& i_context);
    bool IsCustomizable() const;
    void SetCustomizable(bool i_customizable);
    bool IsEnabled() const;
    void SetEnabled(bool i_enabled);
    const CheckOutRecord& GetCheckOut() const;

    /// Runs the command, enabled or not; true when it was carried out. The run may destroy the command.
    bool Exec();
    /// True from the start of Exec to its end; the run may turn the event loop.
    bool IsRunning() const;
    /// Holds an owner until the run has ended. For containers that drop a running command.
    void KeepWhileRunning(std::shared_ptr<UiCommand> ip_self);
    /// Lets the command decide whether it is enabled.
    void Update(const UpdatableContext& i_context);

Q_SIGNALS:
    /// Texts, icon or enabling changed; once per change.
    void Changed();

protected:
    virtual bool _ExecUiCommand() = 0;
    virtual void _UpdateUiCommand(const UpdatableContext& i_context) = 0;

private:
    struct Impl;
    std::shared_ptr<Impl> _impl; ///< also of a run, which may outlive the command
};

} // namespace Vexlor::UICommands
