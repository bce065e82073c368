#include "vexlorui/UiCommand.h"

#include <utility>

namespace Vexlor::UICommands {

struct UiCommand::Impl
{
    QString id;
    CheckOutRecord checkOut;
    QString title;
    QString toolTip;
    QString statusTip;
    QIcon icon;
    QStringList layouts;
    QString context;
    bool isCustomizable = true;
    bool isEnabled = true;
    int runs = 0;
    std::shared_ptr<UiCommand> keptSelf;
};

UiCommand::UiCommand(const QString& i_id, const CheckOutRecord& i_check_out, QObject* ip_parent)
    : QObject(ip_parent)
    , _impl(std::make_shared<Impl>())
{
    _impl->id = i_id;
    _impl->checkOut = i_check_out;
}

UiCommand::~UiCommand() = default;

QString UiCommand::GetId() const
{
    return _impl->id;
}

QString UiCommand::GetTitle() const
{
    return _impl->title;
}

void UiCommand::SetTitle(const QString& i_title)
{
    if (std::exchange(_impl->title, i_title) != i_title)
        Q_EMIT Changed();
}

QString UiCommand::GetToolTip() const
{
    return _impl->toolTip;
}

void UiCommand::SetToolTip(const QString& i_tool_tip)
{
    if (std::exchange(_impl->toolTip, i_tool_tip) != i_tool_tip)
        Q_EMIT Changed();
}

QString UiCommand::GetStatusTip() const
{
    return _impl->statusTip;
}

void UiCommand::SetStatusTip(const QString& i_status_tip)
{
    if (std::exchange(_impl->statusTip, i_status_tip) != i_status_tip)
        Q_EMIT Changed();
}

QIcon UiCommand::GetIcon() const
{
    return _impl->icon;
}

void UiCommand::SetIcon(const QIcon& i_icon)
{
    if (std::exchange(_impl->icon, i_icon).cacheKey() != i_icon.cacheKey())
        Q_EMIT Changed();
}

QStringList UiCommand::GetLayouts() const
{
    return _impl->layouts;
}

void UiCommand::SetLayouts(const QStringList& i_layouts)
{
    _impl->layouts = i_layouts;
}

QString UiCommand::GetContext() const
{
    return _impl->context;
}

void UiCommand::SetContext(const QString& i_context)
{
    _impl->context = i_context;
}

bool UiCommand::IsCustomizable() const
{
    return _impl->isCustomizable;
}

void UiCommand::SetCustomizable(bool i_customizable)
{
    _impl->isCustomizable = i_customizable;
}

bool UiCommand::IsEnabled() const
{
    return _impl->isEnabled;
}

void UiCommand::SetEnabled(bool i_enabled)
{
    if (std::exchange(_impl->isEnabled, i_enabled) != i_enabled)
        Q_EMIT Changed();
}

const CheckOutRecord& UiCommand::GetCheckOut() const
{
    return _impl->checkOut;
}

bool UiCommand::Exec()
{
    struct Run
    {
        explicit Run(std::shared_ptr<Impl> ip_impl)
            : impl(std::move(ip_impl))
        {
            ++impl->runs;
        }
        ~Run()
        {
            // The last owner may go with this scope: nothing of the command is touched after it.
            std::shared_ptr<UiCommand> self;
            if (--impl->runs == 0)
                self = std::move(impl->keptSelf);
        }
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;
        const std::shared_ptr<Impl> impl;
    };
    const Run run(_impl);
    return _ExecUiCommand();
}

bool UiCommand::IsRunning() const
{
    return _impl->runs > 0;
}

void UiCommand::KeepWhileRunning(std::shared_ptr<UiCommand> ip_self)
{
    if (IsRunning())
        _impl->keptSelf = std::move(ip_self);
}

void UiCommand::Update(const UpdatableContext& i_context)
{
    _UpdateUiCommand(i_context);
}

} // namespace Vexlor::UICommands
