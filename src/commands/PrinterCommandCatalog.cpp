#include "commands/PrinterCommandCatalog.h"

#include "commands/CommandIcon.h"
#include "commands/CommandNames.h"
#include "commands/CommandTexts.h"
#include "commands/ConfigurationCommands.h"

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

/// What a command keeps, shared by what it runs and what enables it.
struct Context
{
    CommandDescription description;
    Machine machine;
    CommandGetters getters;
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

bool IsSubmission(CommandType i_type)
{
    return i_type == CommandType::Build || i_type == CommandType::PostJob || i_type == CommandType::CreateJobUrl;
}

bool NeedsContent(CommandType i_type)
{
    return IsSubmission(i_type) || i_type == CommandType::ConfigureParts ||
           i_type == CommandType::ConsumptionEstimations || i_type == CommandType::AutomaticPlacement;
}

bool IsEnabled(const Context& i_command, const UpdatableContext& i_context)
{
    const CommandType type = i_command.description.type;
    if (NeedsContent(type) && !HasContent(i_context))
        return false;
    // A refusal of the machine is told when a job is submitted, not before.
    return IsSubmission(type) ? IsBuildButtonAllowed() : CanRun(i_command);
}

bool Run(const Context& i_command)
{
    const auto& [description, machine, getters] = i_command;
    switch (description.type) {
    case CommandType::Build:
    case CommandType::PostJob:
    case CommandType::CreateJobUrl:
        return Helpers::SubmitJob(description, machine, getters.apiProvider, getters.dataSet);
    case CommandType::ConfigurePrinter:
        return Helpers::ConfigurePrinter(description, machine, getters.apiProvider, getters.dataSet);
    case CommandType::ConfigurePlatform:
        return Helpers::ConfigurePlatform(description, machine, getters.apiProvider, getters.dataSet);
    case CommandType::ConfigureParts:
        return Helpers::ConfigurePart(description, machine, getters.apiProvider, getters.dataSet);
    case CommandType::ConsumptionEstimations:
        return Helpers::EstimateConsumption(description, machine, getters.apiProvider, getters.dataSet);
    case CommandType::AutomaticPlacement:
        return Helpers::PlaceAutomatically(description, machine, getters.apiProvider, getters.dataSet);
    case CommandType::Additional:
    case CommandType::AdditionalForParts:
    case CommandType::AdditionalForPlatform:
        return Helpers::DynamicPrinterCommand(description, machine, getters.apiProvider, getters.dataSet, getters.text);
    }
    return false;
}

ContextPtr MakeContext(const CommandDescription& i_description, const Machine& i_machine,
                       const CommandGetters& i_getters)
{
    CommandDescription description = i_description;
    description.icon = {}; // the command itself holds it
    return std::make_shared<const Context>(Context{std::move(description), i_machine, i_getters});
}

// The host has icons of its own for these.
bool TakesOwnIcon(CommandType i_type)
{
    return i_type != CommandType::Build && i_type != CommandType::ConfigurePrinter;
}

bool IsKnown(CommandType i_type)
{
    return i_type <= CommandType::CreateJobUrl;
}

} // namespace

std::vector<CommandDescription> GetKnownCommands(const Machine& i_machine)
{
    std::future<std::vector<CommandDescription>> list = i_machine.GetCommands();
    if (!list.valid() || list.wait_for(std::chrono::seconds(0)) == std::future_status::timeout)
        return {};
    std::vector<CommandDescription> commands = list.get();
    std::erase_if(commands, [](const CommandDescription& i_command) { return !IsKnown(i_command.type); });
    return commands;
}

std::unique_ptr<PrinterCommand> CreatePrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                                                     const CommandGetters& i_getters)
{
    const std::optional<QString> name = GetCommandName(i_description, i_machine.GetMachineData());
    if (!name)
        return nullptr;
    const ContextPtr context = MakeContext(i_description, i_machine, i_getters);
    auto command = std::make_unique<PrinterCommand>(
        *name, QStringList{QLatin1String(Vexlor::UICommands::LayoutNames::AM)}, QLatin1String(BPCommandsContext),
        [context] { return Run(*context); },
        [context](const UpdatableContext& i_context) { return IsEnabled(*context, i_context); });
    command->SetTitle(GetCommandTitle(i_description, *name));
    const QString tool_tip = GetCommandToolTip(i_description, *name);
    command->SetToolTip(tool_tip);
    command->SetStatusTip(tool_tip);
    if (TakesOwnIcon(i_description.type) && !i_description.icon.empty()) {
        const QIcon icon = LoadCommandIcon(i_description.icon);
        command->SetIcon(icon);
        Vexlor::UICommands::IconUpdater::RegisterIcon(*name, icon);
    }
    return command;
}

std::vector<std::unique_ptr<PrinterCommand>> CreatePrinterCommands(const Machine& i_machine,
                                                                   const CommandGetters& i_getters)
{
    std::vector<std::unique_ptr<PrinterCommand>> commands;
    for (const CommandDescription& description : GetKnownCommands(i_machine))
        commands.push_back(CreatePrinterCommand(description, i_machine, i_getters));
    return commands;
}

} // namespace MachineService
