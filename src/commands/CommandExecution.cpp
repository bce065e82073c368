#include "commands/CommandExecution.h"

#include "commands/CommandNames.h"
#include "commands/CommandRunner.h"
#include "commands/CommandTexts.h"
#include "commands/CommandTraces.h"
#include "commands/ExportCheck.h"
#include "commands/FailureReport.h"

#include "vexlorcore/Application.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <boost/uuid/uuid_io.hpp>

#include <memory>
#include <stdexcept>
#include <utility>

namespace MachineService::Helpers {

namespace {

QString GetTitle(const CommandDescription& i_description, const MachineData& i_data)
{
    return GetCommandTitle(i_description, GetCommandName(i_description, i_data).value_or(QString()));
}

QString GetDefaultJobName()
{
    VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
    if (application && application->GetSettings().GetEnglishJobNames())
        return QStringLiteral("Untitled");
    return QCoreApplication::translate("PrinterHelpers", "Untitled");
}

QString GetJobName(const VexlorCore::DataSet& i_scene)
{
    const QString file_name = QFileInfo(QString::fromStdWString(i_scene.GetFileName())).fileName();
    const QString name = file_name.left(file_name.lastIndexOf(QLatin1Char('.')));
    return name.isEmpty() ? GetDefaultJobName() : name;
}

std::vector<PartParameters> GetPartParameters(const VexlorCore::DataSet& i_scene)
{
    std::vector<PartParameters> all;
    for (const VexlorCore::Part& part : i_scene.GetParts()) {
        if (!part.GetStrategies())
            continue;
        PartParameters parameters;
        parameters.globalId = boost::uuids::to_string(part.GetRevisionId());
        parameters.hasSupports = part.HasSupports();
        for (const auto& [role, strategy] : *part.GetStrategies())
            parameters.strategies.emplace_back(QString::fromStdWString(role).toStdString(),
                                               QString::fromStdWString(strategy).toStdString());
        all.push_back(std::move(parameters));
    }
    return all;
}

void PurgeLastOperation()
{
    const VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
    if (application && application->GetOperationManager())
        application->GetOperationManager()->PurgeLastOperation();
}

bool TrySubmitJob(const CommandDescription& i_description, const Machine& i_machine,
                  const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    const MachineData data = i_machine.GetMachineData();
    SendTraces(BuildTrace, data);
    if (!CheckExport(data, i_api_provider))
        return false;

    VexlorCore::DataSet& scene = RequireScene(i_data_set);
    const QString job_name = GetJobName(scene);
    const bool needs_confirmation = IsServedByMachineManager(i_machine);
    if (needs_confirmation) {
        const std::weak_ptr<VexlorCore::DataSet> life = scene.weak_from_this();
        const bool creates_url = i_description.type == CommandType::CreateJobUrl;
        const char* const command_name = creates_url ? BPCommandNameCreateJobUrl : BPCommandNamePostJob;
        if (!i_api_provider().ConfirmSubmission(QLatin1String(command_name), job_name))
            return false;
        // The host may have asked its user, who could do anything meanwhile.
        if (life.expired())
            throw std::runtime_error(
                QCoreApplication::translate("PrinterHelpers", "The scene was closed.").toStdString());
    }
    CommandParameters parameters = MakeParameters(i_description, "VexlorProcess");
    parameters.jobName = job_name.toStdString();
    parameters.parts = GetPartParameters(scene);

    const bool has_succeeded = RunCommand(scene, i_machine, parameters, i_description.dataFormat,
                                          GetTitle(i_description, data), i_api_provider);
    if (needs_confirmation)
        PurgeLastOperation();
    return has_succeeded;
}

} // namespace

bool SubmitJob(const CommandDescription& i_description, const Machine& i_machine,
               const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return ReportFailures(i_api_provider,
                          [&] { return TrySubmitJob(i_description, i_machine, i_api_provider, i_data_set); });
}

bool PlaceAutomatically(const CommandDescription& i_description, const Machine& i_machine,
                        const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return ReportFailures(i_api_provider, [&] {
        const MachineData data = i_machine.GetMachineData();
        SendTraces(AutomaticPlacementTrace, data);
        return CheckExport(data, i_api_provider) &&
               RunCommand(RequireScene(i_data_set), i_machine,
                          MakeParameters(i_description, "VexlorPlaceAutomatically"), i_description.dataFormat,
                          GetTitle(i_description, data), i_api_provider);
    });
}

bool EstimateConsumption(const CommandDescription& i_description, const Machine& i_machine,
                         const ApiProviderGetter& i_api_provider, const DataSetGetter& i_data_set)
{
    return ReportFailures(i_api_provider, [&] {
        const MachineData data = i_machine.GetMachineData();
        return CheckExport(data, i_api_provider) &&
               RunCommand(RequireScene(i_data_set), i_machine,
                          MakeParameters(i_description, "VexlorEstimatePrintConsumptions"), i_description.dataFormat,
                          GetTitle(i_description, data), i_api_provider);
    });
}

} // namespace MachineService::Helpers
