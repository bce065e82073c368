#include "commands/PrinterCommand.h"

#include <QPointer>

#include <utility>

namespace MachineService {

struct PrinterCommand::Impl
{
    std::function<bool()> exec;
    std::function<bool(const UpdatableContext&)> update;
    Refuse refuse;
};

PrinterCommand::PrinterCommand(const QString& i_name, const QStringList& i_layouts, const QString& i_context,
                               std::function<bool()> i_exec, std::function<bool(const UpdatableContext&)> i_update)
    : UiCommand(i_name, Vexlor::UICommands::CheckOutRecord(), nullptr)
    , _impl(std::make_shared<const Impl>(Impl{std::move(i_exec), std::move(i_update), {}}))
{
    SetCustomizable(false);
    SetLayouts(i_layouts);
    SetContext(i_context);
}

PrinterCommand::~PrinterCommand() = default;

void PrinterCommand::SetRefuse(Refuse i_refuse)
{
    _impl = std::make_shared<const Impl>(Impl{_impl->exec, _impl->update, std::move(i_refuse)});
}

bool PrinterCommand::_ExecUiCommand()
{
    // The event loop turns while a command runs, and whoever owns this object may let go of it meanwhile.
    const std::shared_ptr<const Impl> impl = _impl;
    return impl->exec();
}

void PrinterCommand::_UpdateUiCommand(const UpdatableContext& i_context)
{
    const std::shared_ptr<const Impl> impl = _impl;
    // Who is asked may drop the command.
    const QPointer<PrinterCommand> alive(this);
    if (!impl->refuse) {
        const bool isEnabled = impl->update(i_context);
        if (alive)
            SetEnabled(isEnabled);
        return;
    }
    CommandRefusal refusal = impl->refuse(i_context);
    if (!alive)
        return;
    const bool hasChanged = !(refusal == _refusal);
    _refusal = std::move(refusal);
    const bool isEnabled = _refusal.kind == CommandRefusal::Kind::None;
    if (isEnabled != IsEnabled())
        SetEnabled(isEnabled);
    else if (hasChanged)
        Q_EMIT Changed();
}

} // namespace MachineService
