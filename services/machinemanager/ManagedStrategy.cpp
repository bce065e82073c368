#include "machinemanager/ManagedMachines_p.h"

#include "client/interface/Caller.h"
#include "client/interface/CommunicationException.h"
#include "contract/Failure.h"
#include "contract/ReadyFuture.h"
#include "machinemanager/dispatch/BuildFiles.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>

namespace MachineService::MachineManager {

namespace {

const boost::uuids::uuid& GetPostId()
{
    static const auto id = boost::uuids::string_generator()("5f0c1a52-6f0e-4d0b-9d52-0c7f3d5d1f09");
    return id;
}

const boost::uuids::uuid& GetDraftId()
{
    static const auto id = boost::uuids::string_generator()("5f0c1a52-6f0e-4d0b-9d52-0c7f3d5d1f0a");
    return id;
}

std::vector<CommandDescription> DescribeCommands()
{
    CommandDescription post;
    post.type = CommandType::PostJob;
    post.id = GetPostId();
    post.dataFormat = DataFormat::Platform;
    post.name = "Post Job";
    post.description = "Send a ready job for processing in Machine Manager.";
    CommandDescription draft;
    draft.type = CommandType::CreateJobUrl;
    draft.id = GetDraftId();
    draft.dataFormat = DataFormat::Platform;
    draft.name = "Create Job";
    draft.description = "Send a draft job to Machine Manager for further configuration.";
    return {post, draft};
}

[[noreturn]] void Rethrow(const ManagerError& i_failure)
{
    const bool isOurs = i_failure.GetKind() == ManagerError::Kind::Storage;
    Fail(isOurs ? ErrorCode::SendFailed : ErrorCode::InternalError, i_failure.what());
}

CommandResult SubmitJob(const ManagedMachines& i_machines, const ManagedMachine& i_machine, const Actor& i_actor,
                        const CommandParameters& i_parameters)
{
    NewJob job;
    job.id = i_parameters.runId.is_nil() ? boost::uuids::random_generator()() : i_parameters.runId;
    job.name = i_parameters.jobName;
    job.target.machine = i_machine.original;
    job.target.model = i_machine.data.modelId;
    job.isDraft = i_parameters.commandId == GetDraftId();
    job.order = WriteOrder(i_parameters.parts);
    try {
        i_machines.desk.Submit(i_actor, job, i_parameters.inputFile);
    } catch (const ManagerError& failure) {
        Rethrow(failure);
    }
    CommandResult result;
    result.dataFormat = DataFormat::None;
    result.secondStatus = SubmissionSent;
    if (i_machines.getAddress)
        result.jobList = i_machines.getAddress(job.id, i_actor);
    return result;
}

} // namespace

ManagedStrategy::ManagedStrategy(const MachineData& i_data, std::shared_ptr<ManagedMachines> ip_machines)
    : MachineStrategy(i_data)
    , _machines(std::move(ip_machines))
{}

std::future<std::vector<CommandDescription>> ManagedStrategy::GetCommands() const
{
    return Ready([this] {
        _Get();
        return DescribeCommands();
    });
}

std::future<bool> ManagedStrategy::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&] { return ExplainCanRunCommand(i_command_id).get().canRun; });
}

std::future<CanRunAnswer> ManagedStrategy::ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&]() -> CanRunAnswer {
        const auto machine = _Get();
        if (i_command_id != GetPostId() && i_command_id != GetDraftId())
            return {false, "The Machine Manager does not offer this command."};
        // A draft waits for somebody anyway.
        if (machine->isPaused && i_command_id == GetPostId())
            return {false, machine->pauseReason};
        return {true, {}};
    });
}

std::future<CommandResult> ManagedStrategy::RunCommand(const CommandParameters& i_parameters) const
{
    return ReadyIfRefused([&] {
        const auto machine = _Get();
        const bool isPost = i_parameters.commandId == GetPostId();
        if (!isPost && i_parameters.commandId != GetDraftId())
            throw CommunicationException(ErrorCode::CommandNotFound);
        if (isPost && machine->isPaused)
            throw CommunicationException(ErrorCode::QueuePaused, machine->pauseReason.c_str());
        return _machines->submissions.Submit(
            machine->data.id, i_parameters.stopToken,
            [&machines = *_machines, machine, actor = _machines->findActor(GetCaller()),
             parameters = i_parameters](std::stop_token) { return SubmitJob(machines, *machine, actor, parameters); });
    });
}

ProgressWatcherFuture<PlatformInfo> ManagedStrategy::GetPlatformInformation() const
{
    try {
        return _GetOriginal().GetPlatformInformation();
    } catch (...) {
        return ProgressWatcherFuture(Ready([]() -> PlatformInfo { throw; }));
    }
}

std::future<std::pair<CommandResult, Platform>> ManagedStrategy::GetEmptyPlatform(const std::string& i_parameters) const
{
    return ReadyIfRefused([&] { return _GetOriginal().GetEmptyPlatform(i_parameters); });
}

ProgressWatcherFuture<void> ManagedStrategy::ModifyPlatform(const Platform& i_platform) const
{
    try {
        return _GetOriginal().ModifyPlatform(i_platform);
    } catch (...) {
        return ProgressWatcherFuture(Ready([] { throw; }));
    }
}

std::future<CommandResult> ManagedStrategy::FillReportProperties(const CommandParameters& i_parameters) const
{
    return ReadyIfRefused([&] { return _GetOriginal().FillReportProperties(i_parameters); });
}

std::future<CommandResult> ManagedStrategy::Preprocessing(const CommandParameters& i_parameters) const
{
    return ReadyIfRefused([&] { return _GetOriginal().Preprocessing(i_parameters); });
}

std::future<ProfileAssignments> ManagedStrategy::GetProfileAssignments() const
{
    return ReadyIfRefused([&] { return _GetOriginal().GetProfileAssignments(); });
}

ManagedStrategy::MachinePointer ManagedStrategy::_Get() const
{
    if (auto machine = _machines->registry.Find(GetMachineData().id))
        return machine;
    throw CommunicationException(_machines->registry.IsClosed() ? ErrorCode::ServicesUnavailable
                                                                : ErrorCode::MachineNotFound);
}

Machine ManagedStrategy::_GetOriginal() const
{
    return _machines->board.GetMachine(_Get()->original);
}

} // namespace MachineService::MachineManager
