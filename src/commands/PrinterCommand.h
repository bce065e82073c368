#pragma once

#include "commands/CommandRefusal.h"
#include "machineservice_export.h"

#include "vexlorui/UiCommand.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

namespace MachineService {

/// One command of the attached machine in the host's ribbon: runs one function and asks another whether it is enabled.
///
/// Title, tooltip, status tip and icon are set from outside. It may be built on any thread and moved to the UI thread
/// before it is stored. A storage may drop it while it runs: it then goes when the run has ended.
class MACHINESERVICE_EXPORT PrinterCommand final : public Vexlor::UICommands::UiCommand
{
    Q_OBJECT

public:
    using UpdatableContext = Vexlor::UICommands::UpdatableContext;

    /// \param i_exec runs on click; true when the command was carried out. Calling an empty one throws
    /// std::bad_function_call, also for i_update.
    PrinterCommand(const QString& i_name, const QStringList& i_layouts, const QString& i_context,
                   std::function<bool()> i_exec, std::function<bool(const UpdatableContext&)> i_update);
    ~PrinterCommand() override;

    using Refuse = std::function<CommandRefusal(const UpdatableContext&)>;
    /// From now on it decides, in the place of i_update, and tells why. Before the command is shown to anybody.
    void SetRefuse(Refuse i_refuse);
    /// Why the last update left it disabled; None as well where nothing tells why. Changed is raised for changes of it.
    const CommandRefusal& GetRefusal() const { return _refusal; }

protected:
    bool _ExecUiCommand() override;
    void _UpdateUiCommand(const UpdatableContext& i_context) override;

private:
    struct Impl;
    std::shared_ptr<const Impl> _impl;
    CommandRefusal _refusal;
};

} // namespace MachineService
