#include "commands/CommandExecution.h"

#include "client/interface/MachineData.h"
#include "commands/CommandKinds.h"
#include "commands/CommandNames.h"
#include "commands/CommandRunner.h"
#include "commands/CommandTexts.h"
#include "commands/CommandTraces.h"
#include "commands/ExportCheck.h"
#include "commands/FailureReport.h"
#include "tavsdk/Utf8.h"

#include "vexlorcore/Application.h"
#include "vexlorcore/HeldScene.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <boost/uuid/uuid_io.hpp>

#include <optional>
#include <string>
#include <utility>

namespace MachineService::Helpers {

namespace {

QString GetDefaultJobName()
{
    VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
    if (application && application->GetSettings().GetEnglishJobNames())
        return QStringLiteral("Untitled");
    return QCoreApplication::translate("PrinterHelpers", "Untitled");
}

QString GetJobName(const VexlorCore::DataSet& i_scene)
{
    const QString fileName = QFileInfo(QString::fromStdWString(i_scene.GetFileName())).fileName();
    const QString name = fileName.left(fileName.lastIndexOf(QLatin1Char('.')));
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
            parameters.strategies.emplace_back(TavSDK::ToUtf8(role), TavSDK::ToUtf8(strategy));
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

/// False when the host refuses the job.
bool Confirm(const CommandDescription& i_description, const std::string& i_job_name, IVexlorApiProvider& io_host)
{
    const bool createsUrl = i_description.type == CommandType::CreateJobUrl;
    const char* const commandName = createsUrl ? BPCommandNameCreateJobUrl : BPCommandNamePostJob;
    return io_host.ConfirmSubmission(QLatin1String(commandName), QString::fromStdString(i_job_name));
}

bool TryRun(const CommandKind& i_kind, const CommandDescription& i_description, const Machine& i_machine,
            const HostContext& i_host)
{
    const MachineData data = i_machine.GetMachineData();
    if (i_kind.traces)
        SendTraces(*i_kind.traces, data);
    if (i_kind.checksExport && !CheckExport(data, i_host.apiProvider))
        return false;

    const VexlorCore::HeldScene scene(RequireScene(i_host.dataSet));
    CommandParameters parameters = MakeParameters(i_description, i_kind.processName);
    if (i_kind.passesText)
        parameters.callerContext = i_host.text().toStdString();
    const bool needsConfirmation = i_kind.sendsJob && IsServedByMachineManager(i_machine);
    if (i_kind.sendsJob)
        parameters.jobName = GetJobName(scene.Get()).toStdString();
    // The host may ask its user, who can do anything meanwhile.
    if (needsConfirmation && !Confirm(i_description, parameters.jobName, i_host.apiProvider()))
        return false;
    if (i_kind.sendsJob)
        parameters.parts = GetPartParameters(scene.Get());

    const bool isNamedByMachine = i_kind.progressTitle == ProgressTitle::OfTheMachine;
    const bool hasSucceeded = RunCommand(
        scene, i_machine, parameters, i_description.dataFormat,
        isNamedByMachine ? GetMachinesTitle(i_description) : GetCommandTitle(i_description, data), i_host.apiProvider);
    if (needsConfirmation)
        PurgeLastOperation();
    return hasSucceeded;
}

} // namespace

bool RunPrinterCommand(const CommandDescription& i_description, const Machine& i_machine, const HostContext& i_host)
{
    const std::optional<CommandKind> kind = FindCommandKind(i_description.type);
    return kind && RunAsKind(*kind, i_description, i_machine, i_host);
}

bool RunAsKind(const CommandKind& i_kind, const CommandDescription& i_description, const Machine& i_machine,
               const HostContext& i_host)
{
    return ReportFailures(i_host.apiProvider, [&] { return TryRun(i_kind, i_description, i_machine, i_host); });
}

} // namespace MachineService::Helpers
