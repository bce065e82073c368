#include "commands/CommandRunner.h"

#include "client/events/ChangesHandler.h"
#include "client/events/ChangesListener.h"
#include "client/interface/CommunicationException.h"
#include "client/interface/ScopedTempDir.h"
#include "commands/FailureReport.h"
#include "commands/JobListDialog.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "platform/MachineAnswer.h"
#include "platform/ProcessorOutput.h"

#include "tavsdk/Path.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/HeldScene.h"
#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorcore/meshimport/MeshImporter.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace MachineService::Helpers {

namespace {

Q_LOGGING_CATEGORY(RunnerLog, "machineservice.commands.run")

bool IsPlatformFormat(DataFormat i_format)
{
    return i_format >= DataFormat::Platform && i_format <= DataFormat::AdditionalParts;
}

bool IsDocumentFormat(DataFormat i_format)
{
    return i_format >= DataFormat::Document && i_format <= DataFormat::Other;
}

std::string GetInputFileName(DataFormat i_format)
{
    if (IsPlatformFormat(i_format))
        return "Scene.TavAMX";
    if (IsDocumentFormat(i_format))
        return "Scene.xml";
    throw CommunicationException(ErrorCode::UnsupportedOutputFormat, "Unsupported input file format.");
}

/// Everything that one run needs; copied into the job.
struct Run
{
    MachineOperation operation;
    const VexlorCore::HeldScene& scene; ///< held on the UI thread, where it must go
    CommandParameters parameters;
    DataFormat dataFormat;
    bool isForMachineManager;
    ApiProviderGetter apiProvider;
};

std::vector<std::filesystem::path> GetOutputFiles(const ScopedTempDir& i_output, DataFormat i_format)
{
    if (!IsPlatformFormat(i_format))
        return i_output.GetFilesByFilter("*");
    auto paths = i_output.GetFilesByFilter("*.TavAMX");
    if (i_format == DataFormat::AdditionalParts) {
        for (const std::string& ending : VexlorCore::GetMeshFileEndings()) {
            const auto found = i_output.GetFilesByFilter('*' + ending);
            paths.insert(paths.end(), found.begin(), found.end());
        }
    }
    return paths;
}

void LoadOutput(const Run& i_run, const CommandResult& i_result, const ScopedTempDir& i_output)
{
    const DataFormat format = i_result.dataFormat == DataFormat::Undefined ? i_run.dataFormat : i_result.dataFormat;
    if (format == DataFormat::None)
        return;
    const auto paths = GetOutputFiles(i_output, format);
    if (paths.empty()) {
        if (!i_output.GetFilesByFilter("*").empty())
            throw CommunicationException(ErrorCode::UnexpectedOutput);
        return;
    }
    std::vector<std::wstring> files;
    std::transform(paths.begin(), paths.end(), std::back_inserter(files), TavSDK::PathToWide);
    i_run.apiProvider().InvokeOnUiThread([&i_run] { i_run.scene.Get(); });
    LoadProcessorOutput(i_run.scene.GetPointer(), format, files, i_run.apiProvider, {});
}

void ThrowIfFailed(const CommandResult& i_result)
{
    if (i_result.status != 0)
        throw CommunicationException(static_cast<ErrorCode>(i_result.status), i_result.message.c_str());
    // Given up without a code: what the machine says itself is shown, if it says anything.
    if (!i_result.completed)
        throw CommunicationException(i_result.message.empty() ? ErrorCode::ProcessingError : ErrorCode::None,
                                     i_result.message.c_str());
}

CommandResult RunInTemporaryFolders(const Run& i_run, VexlorCore::IJobProgress& io_progress)
{
    const ScopedTempDir output;
    const ScopedTempDir input;
    CommandParameters parameters = i_run.parameters;
    parameters.outputDir = output.GetAbsoluteDir();
    parameters.inputFile = input.GetAbsoluteFileNameInTempDir(GetInputFileName(i_run.dataFormat));

    IVexlorApiProvider& provider = i_run.apiProvider();
    // The machine goes by what the scene's machine data say now, and not by what they said when it was last saved.
    provider.InvokeOnUiThread([&i_run] {
        try {
            Utilities::UpdateMachineConfiguration(&i_run.scene.Get());
        } catch (const std::invalid_argument& failure) {
            // Parameters of some other maker's machine: nobody here shows them, and the machine may know what they say.
            qCWarning(RunnerLog, "The scene goes without a machine configuration: %s", failure.what());
        }
    });
    provider.SaveProcessorInput(i_run.scene.GetPointer(), static_cast<std::int32_t>(i_run.dataFormat),
                                parameters.inputFile);
    ThrowIfCancelled(io_progress);
    CommandResult result = AwaitServiceAnswer(i_run.operation, std::move(parameters), io_progress);
    ThrowIfFailed(result);
    // From here on a cancellation comes too late, but for mesh files that are read: results are taken into the scene as
    // a whole.
    LoadOutput(i_run, result, output);
    return result;
}

/// The job itself. True when the command succeeded; otherwise the user was told.
bool RunCommandWrapper(const Run& i_run, VexlorCore::IJobProgress& io_progress)
{
    return ReportFailures(i_run.apiProvider, [&] {
        ThrowIfCancelled(io_progress);
        // The folders are gone before any message waits for the user.
        const CommandResult result = RunInTemporaryFolders(i_run, io_progress);
        if (i_run.isForMachineManager && result.secondStatus == SubmissionSent)
            ShowPlatformSent(result.jobList, i_run.apiProvider());
        return true;
    });
}

/// Learns whether the selection changes while a command runs.
class SelectionWatch
{
public:
    SelectionWatch()
    {
        const VexlorCore::Application* const application = VexlorCore::Application::GetInstance();
        if (!application || !application->GetDatabase())
            return;
        // A run that is refused because another one is on its way must not end the other one's session.
        if (!ChangesListener::GetInstance())
            _session.emplace();
        _registration.emplace(true);
    }

    bool HasChanged()
    {
        return _registration && _registration->GetHandler().CheckAndResetChanges(ChangeFlagSelectionChanged);
    }

private:
    std::optional<ListenerSession> _session;
    std::optional<ChangesHandlerRegistration> _registration;
};

/// Runs the job in the way that i_start gives it to the host.
bool Execute(const Run& i_run, const std::function<bool(IVexlorApiProvider&, const VexlorCore::Job&)>& i_start)
{
    SelectionWatch selection;
    const auto wasReported = std::make_shared<std::atomic<bool>>(false);
    bool succeeded = false;
    try {
        succeeded = i_start(i_run.apiProvider(), [i_run, wasReported](VexlorCore::IJobProgress& io_progress) {
            const bool jobSucceeded = RunCommandWrapper(i_run, io_progress);
            *wasReported = !jobSucceeded;
            return jobSucceeded;
        });
    } catch (...) {
        // The job tells of its own failure; what the host adds to it would be a second message.
        if (!*wasReported)
            throw;
    }
    // Buttons that depend on the selection were not checked while the command ran.
    if (selection.HasChanged())
        i_run.apiProvider().UpdateCommands();
    return succeeded;
}

} // namespace

CommandParameters MakeParameters(const CommandDescription& i_description, const char* ip_process_name)
{
    CommandParameters parameters;
    parameters.commandId = i_description.id;
    parameters.processName = ip_process_name;
    return parameters;
}

VexlorCore::DataSet& RequireScene(const DataSetGetter& i_data_set)
{
    VexlorCore::DataSet* const dataSet = i_data_set();
    if (!dataSet)
        throw std::runtime_error(
            QCoreApplication::translate("PrinterHelpers", "There is no active scene.").toStdString());
    return *dataSet;
}

bool IsServedByMachineManager(const Machine& i_machine)
{
    return i_machine.GetMachineData().serviceId == ServiceId::MachineManager;
}

bool RunCommand(const VexlorCore::HeldScene& i_scene, const Machine& i_machine, const CommandParameters& i_parameters,
                DataFormat i_data_format, const QString& i_title, const ApiProviderGetter& i_api_provider)
{
    const bool isForMachineManager = IsServedByMachineManager(i_machine);
    const auto operation = [i_machine](const CommandParameters& i_run_parameters) {
        return i_machine.RunCommand(i_run_parameters);
    };
    const Run run = {operation, i_scene, i_parameters, i_data_format, isForMachineManager, i_api_provider};
    return Execute(run, [&](IVexlorApiProvider& io_provider, const VexlorCore::Job& i_job) {
        if (!isForMachineManager)
            return io_provider.RunJob(i_title, i_job);
        return io_provider.RunJobWithTitle(
            QCoreApplication::translate("PrinterHelpers", "Creating a job in the Machine Manager"), i_job);
    });
}

bool RunOperation(const VexlorCore::HeldScene& i_scene, const MachineOperation& i_operation,
                  const CommandParameters& i_parameters, DataFormat i_data_format, const QString& i_title,
                  const ApiProviderGetter& i_api_provider)
{
    const Run run = {i_operation, i_scene, i_parameters, i_data_format, false, i_api_provider};
    return Execute(run, [&](IVexlorApiProvider& io_provider, const VexlorCore::Job& i_job) {
        return io_provider.RunJob(i_title, i_job);
    });
}

} // namespace MachineService::Helpers
