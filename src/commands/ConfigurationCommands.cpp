#include "commands/ConfigurationCommands.h"

#include "commands/CommandExecution.h"
#include "commands/CommandKinds.h"
#include "commands/CommandRunner.h"
#include "commands/FailureReport.h"

#include "vexlorcore/HeldScene.h"

#include <QCoreApplication>

namespace MachineService::Helpers {

namespace {

/// These are called by name: what kind the description says does not matter.
bool RunAs(CommandType i_type, const CommandDescription& i_description, const Machine& i_machine,
           const HostContext& i_host)
{
    const std::optional<CommandKind> kind = FindCommandKind(i_type);
    return kind && RunAsKind(*kind, i_description, i_machine, i_host);
}

} // namespace

bool ConfigurePart(const CommandDescription& i_description, const Machine& i_machine,
                   const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return RunAs(CommandType::ConfigureParts, i_description, i_machine, {i_data_set, i_api_provider, nullptr});
}

bool ConfigurePlatform(const CommandDescription& i_description, const Machine& i_machine,
                       const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return RunAs(CommandType::ConfigurePlatform, i_description, i_machine, {i_data_set, i_api_provider, nullptr});
}

bool DynamicPrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                           const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set,
                           const std::function<QString()>& i_text)
{
    return RunAs(CommandType::Additional, i_description, i_machine, {i_data_set, i_api_provider, i_text});
}

bool FillReportProperties(const Machine& i_machine, const ApiProviderGetter& i_api_provider,
                          const DataSetGetter& i_data_set)
{
    return ReportFailures(i_api_provider, [&] {
        CommandParameters parameters;
        parameters.processName = "VexlorDocGenProperties";
        const auto operation = [i_machine](const CommandParameters& i_run_parameters) {
            return i_machine.FillReportProperties(i_run_parameters);
        };
        const VexlorCore::HeldScene scene(RequireScene(i_data_set));
        return RunOperation(scene, operation, parameters, DataFormat::Platform,
                            QCoreApplication::translate("PrinterHelpers", "Report Properties"), i_api_provider);
    });
}

} // namespace MachineService::Helpers
