#include "commands/PrinterCommandCatalog.h"

#include "client/interface/MachineData.h"
#include "commands/CommandExecution.h"
#include "commands/CommandIcon.h"
#include "commands/CommandKinds.h"
#include "commands/CommandNames.h"
#include "commands/CommandTexts.h"

#include "vexlorcore/Application.h"
#include "vexlorui/IconUpdater.h"
#include "vexlorui/LayoutNames.h"
#include "vexlorui/UpdatableContext.h"

#include <QStringList>

#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <utility>

namespace MachineService {

namespace {

using Vexlor::UICommands::UpdatableContext;

constexpr int MaxReasonLength = 300;

/// What a command keeps, shared by what it runs and what enables it.
struct Context
{
    CommandDescription description;
    Machine machine;
    HostContext host;
    CommandKind kind;
};

using ContextPtr = std::shared_ptr<const Context>;

bool HasContent(const UpdatableContext& i_context)
{
    return i_context.HasPartsOnActiveDataSet() || i_context.HasSlicesOnActiveDataSet() ||
           i_context.HasHybridCorePartsOnActiveDataSet();
}

bool IsBuildButtonAllowed()
{
    VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
    return !application || !application->GetSettings().GetDisableBuildButton();
}

bool CanRun(const Context& i_command)
{
    try {
        std::future<bool> answer = i_command.machine.CanRunCommand(i_command.description.id);
        // The ribbon asks on the UI thread: an answer that is not there yet counts as a refusal. The printers of scenes
        // answer from a cache at once, and let the host ask again when the cache learned something new. A deferred
        // answer is made by asking for it.
        return answer.valid() && answer.wait_for(std::chrono::seconds(0)) != std::future_status::timeout &&
               answer.get();
    } catch (...) {
        return false;
    }
}

QDateTime ToLocalTime(const KnownCanRunAnswer::Time& i_time)
{
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(i_time.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
}

CommandRefusal RefuseByMachine(const Context& i_command)
{
    using Kind = CommandRefusal::Kind;
    if (CanRun(i_command))
        return {};
    try {
        const auto known = i_command.machine.GetKnownCanRunAnswer(i_command.description.id);
        if (known && known->failingSince)
            return {Kind::MachineSilent, {}, ToLocalTime(*known->failingSince)};
        if (known && !known->answeredAt)
            return {Kind::NotAnsweredYet, {}, {}};
        if (known)
            return {Kind::MachineRefuses, ToDisplayText(known->answer.reason, MaxReasonLength).simplified(), {}};
    } catch (...) {
        // A machine that cannot say why refuses all the same.
    }
    return {Kind::MachineRefuses, {}, {}};
}

/// The host may be without a provider until a command runs.
bool IsAnotherCommandRunning(const Context& i_command)
{
    return i_command.host.apiProvider && i_command.host.apiProvider().IsJobRunning();
}

CommandRefusal Refuse(const Context& i_command, const UpdatableContext& i_context)
{
    using Kind = CommandRefusal::Kind;
    if (IsAnotherCommandRunning(i_command))
        return {Kind::AnotherCommandRuns, {}, {}};
    if (i_command.kind.needsContent && !HasContent(i_context))
        return {Kind::NothingOnPlate, {}, {}};
    if (i_command.kind.enabledBy == EnabledBy::Machine)
        return RefuseByMachine(i_command);
    return {IsBuildButtonAllowed() ? Kind::None : Kind::SwitchedOff, {}, {}};
}

ContextPtr MakeContext(const CommandKind& i_kind, const CommandDescription& i_description, const Machine& i_machine,
                       const HostContext& i_host)
{
    CommandDescription description = i_description;
    description.icon = {}; // the command itself holds it
    return std::make_shared<const Context>(Context{std::move(description), i_machine, i_host, i_kind});
}

} // namespace

std::vector<CommandDescription> GetKnownCommands(const Machine& i_machine)
{
    std::future<std::vector<CommandDescription>> list = i_machine.GetCommands();
    if (!list.valid() || list.wait_for(std::chrono::seconds(0)) == std::future_status::timeout)
        return {};
    std::vector<CommandDescription> commands = list.get();
    std::erase_if(commands, [](const CommandDescription& i_command) { return !FindCommandKind(i_command.type); });
    return commands;
}

std::unique_ptr<PrinterCommand> CreatePrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                                                     const HostContext& i_host)
{
    const std::optional<CommandKind> kind = FindCommandKind(i_description.type);
    if (!kind)
        return nullptr;
    const MachineData data = i_machine.GetMachineData();
    const QString name = GetCommandName(i_description, data).value_or(QString());
    const ContextPtr context = MakeContext(*kind, i_description, i_machine, i_host);
    auto command = std::make_unique<PrinterCommand>(
        name, QStringList{QLatin1String(Vexlor::UICommands::LayoutNames::AM)}, QLatin1String(BPCommandsContext),
        [context] { return Helpers::RunPrinterCommand(context->description, context->machine, context->host); },
        [context](const UpdatableContext& i_context) {
            return Refuse(*context, i_context).kind == CommandRefusal::Kind::None;
        });
    command->SetRefuse([context](const UpdatableContext& i_context) { return Refuse(*context, i_context); });
    command->SetTitle(GetCommandTitle(i_description, data));
    const QString toolTip = GetCommandToolTip(i_description, data);
    command->SetToolTip(toolTip);
    command->SetStatusTip(toolTip);
    if (kind->takesMachinesIcon && !i_description.icon.empty()) {
        const QIcon icon = LoadCommandIcon(i_description.icon);
        command->SetIcon(icon);
        Vexlor::UICommands::IconUpdater::RegisterIcon(name, icon);
    }
    return command;
}

std::vector<std::unique_ptr<PrinterCommand>> CreatePrinterCommands(const Machine& i_machine, const HostContext& i_host)
{
    std::vector<std::unique_ptr<PrinterCommand>> commands;
    for (const CommandDescription& description : GetKnownCommands(i_machine))
        commands.push_back(CreatePrinterCommand(description, i_machine, i_host));
    return commands;
}

} // namespace MachineService
