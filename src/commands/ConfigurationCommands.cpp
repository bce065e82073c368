#include "commands/ConfigurationCommands.h"

#include "commands/CommandRunner.h"
#include "commands/CommandTexts.h"
#include "commands/CommandTraces.h"
#include "commands/ExportCheck.h"
#include "commands/FailureReport.h"

#include <QCoreApplication>

namespace MachineService::Helpers {

namespace {

constexpr std::size_t MaxTitleLength = 80;

struct Arrangement
{
    TraceLabels trace;
    bool checksExport;
    const char* processName;
};

bool RunArranged(
    const Arrangement& i_arrangement, const CommandDescription& i_description, const Machine& i_machine,
    const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set,
    const std::function<QString()>& i_text = [] { return QString(); })
{
    return ReportFailures(i_api_provider, [&] {
        const MachineData data = i_machine.GetMachineData();
        SendTraces(i_arrangement.trace, data);
        if (i_arrangement.checksExport && !CheckExport(data, i_api_provider))
            return false;
        CommandParameters parameters = MakeParameters(i_description, i_arrangement.processName);
        parameters.callerContext = i_text().toStdString();
        return RunCommand(RequireScene(i_data_set), i_machine, parameters, i_description.dataFormat,
                          ToDisplayText(i_description.name, MaxTitleLength), i_api_provider);
    });
}

} // namespace

bool ConfigurePart(const CommandDescription& i_description, const Machine& i_machine,
                   const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return RunArranged({ConfigurePartsTrace, true, "VexlorConfigureParts"}, i_description, i_machine, i_api_provider,
                       i_data_set);
}

bool ConfigurePlatform(const CommandDescription& i_description, const Machine& i_machine,
                       const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return RunArranged({ConfigurePlatformTrace, true, "VexlorConfigurePlatform"}, i_description, i_machine,
                       i_api_provider, i_data_set);
}

bool ConfigurePrinter(const CommandDescription& i_description, const Machine& i_machine,
                      const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return RunArranged({ConfigurePlatformTrace, false, "VexlorProcess"}, i_description, i_machine, i_api_provider,
                       i_data_set);
}

bool DynamicPrinterCommand(const CommandDescription& i_description, const Machine& i_machine,
                           const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set,
                           const std::function<QString()>& i_text)
{
    return RunArranged({AdditionalCommandTrace, true, "VexlorProcess"}, i_description, i_machine, i_api_provider,
                       i_data_set, i_text);
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
        return RunOperation(RequireScene(i_data_set), operation, parameters, DataFormat::Platform,
                            QCoreApplication::translate("PrinterHelpers", "Report Properties"), i_api_provider);
    });
}

} // namespace MachineService::Helpers
