#include "buildprocessor/BuildProcessorStrategy.h"

#include "buildprocessor/ServiceContext.h"
#include "buildprocessor/commands/CommandTable.h"
#include "buildprocessor/commands/ReportCommands.h"
#include "buildprocessor/platform/PlatformInformation.h"
#include "contract/Guard.h"
#include "contract/ReadyFuture.h"
#include "contract/RefuseMissing.h"

namespace MachineService::BuildProcessor {

BuildProcessorStrategy::BuildProcessorStrategy(const DatedProfile& i_profile,
                                               std::shared_ptr<ServiceContext> ip_context)
    : MachineStrategy(ToMachineData(i_profile))
    , _context(std::move(ip_context))
{}

std::future<std::vector<CommandDescription>> BuildProcessorStrategy::GetCommands() const
{
    return Ready([this] {
        std::vector<CommandDescription> descriptions;
        for (const OfferedCommand& command : GetOfferedCommands(_GetProfile()->profile.configuresConnection))
            descriptions.push_back(command.description);
        return descriptions;
    });
}

std::future<bool> BuildProcessorStrategy::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&] { return ExplainCanRunCommand(i_command_id).get().canRun; });
}

std::future<CanRunAnswer> BuildProcessorStrategy::ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&]() -> CanRunAnswer {
        const auto dated = _GetProfile();
        const auto* const command = FindOfferedCommand(i_command_id, dated->profile.configuresConnection);
        if (!command)
            return {false, "The printer does not offer this command any more."};
        if (!command->needsQueue || GetRefusal(dated->profile.queueState) == ErrorCode::None)
            return {true, {}};
        return {false, GetStateSentence(dated->profile.queueState)};
    });
}

std::future<CommandResult> BuildProcessorStrategy::RunCommand(const CommandParameters& i_parameters) const
{
    return ReadyIfRefused([&] {
        const auto dated = _GetProfile();
        const auto* const command = FindOfferedCommand(i_parameters.commandId, dated->profile.configuresConnection);
        if (!command)
            throw CommunicationException(ErrorCode::CommandNotFound);
        const auto refusal = command->needsQueue ? GetRefusal(dated->profile.queueState) : ErrorCode::None;
        if (refusal != ErrorCode::None)
            throw CommunicationException(refusal);
        return _Submit(dated, i_parameters, command->slices, command->run);
    });
}

ProgressWatcherFuture<PlatformInfo> BuildProcessorStrategy::GetPlatformInformation() const
{
    const auto watcher = std::make_shared<ProgressWatcher>();
    return ProgressWatcherFuture(ReadyIfRefused([&] {
                                     return _Ask(watcher->GetStopToken(), [watcher](PlatformRequest i_request) {
                                         i_request.onProgress = [watcher](int i_percent) {
                                             watcher->SetProgress(i_percent);
                                         };
                                         return MakePlatformInformation(i_request);
                                     });
                                 }),
                                 watcher);
}

std::future<std::pair<CommandResult, Platform>>
BuildProcessorStrategy::GetEmptyPlatform(const std::string& i_parameters) const
{
    return ReadyIfRefused([&] {
        return _Ask({}, [parameters = i_parameters](const PlatformRequest& i_request) {
            return MakeEmptyPlatform(i_request, parameters);
        });
    });
}

ProgressWatcherFuture<void> BuildProcessorStrategy::ModifyPlatform(const Platform& /*i_platform*/) const
{
    return ProgressWatcherFuture(
        Ready([this] { RefuseMissing(_GetProfile()->profile.name, "changes of a platform"); }));
}

std::future<CommandResult> BuildProcessorStrategy::FillReportProperties(const CommandParameters& i_parameters) const
{
    return ReadyIfRefused([&] { return _Submit(_GetProfile(), i_parameters, true, &FillReport); });
}

std::future<CommandResult> BuildProcessorStrategy::Preprocessing(const CommandParameters& /*i_parameters*/) const
{
    return Ready([this]() -> CommandResult { RefuseMissing(_GetProfile()->profile.name, "preprocessing"); });
}

std::future<ProfileAssignments> BuildProcessorStrategy::GetProfileAssignments() const
{
    return Ready([this] {
        ProfileAssignments assignments;
        for (const PrintStrategy& strategy : _GetProfile()->profile.strategies)
            assignments.push_back({strategy.id, strategy.name, strategy.role});
        return assignments;
    });
}

template <class Answer>
auto BuildProcessorStrategy::_Ask(std::stop_token i_stop, Answer i_answer) const
    -> std::future<std::invoke_result_t<Answer&, PlatformRequest>>
{
    auto dated = _GetProfile();
    const auto id = dated->profile.id;
    // The context closes its schedulers before it goes, which waits for this work.
    return _context->queries.Submit(
        id, std::move(i_stop),
        [&context = *_context, profile = std::move(dated),
         answer = std::move(i_answer)](std::stop_token i_job_stop) mutable {
            return answer(PlatformRequest{profile->profile, context.settingsDir, i_job_stop, {}});
        });
}

std::future<CommandResult> BuildProcessorStrategy::_Submit(ProfilePointer ip_profile,
                                                           const CommandParameters& i_parameters, bool i_slices,
                                                           CommandResult (*ip_run)(const JobInput&)) const
{
    auto& scheduler = i_slices ? _context->jobs : _context->queries;
    const auto id = ip_profile->profile.id;
    // The context closes its schedulers before it goes, which waits for this work.
    return scheduler.Submit(
        id, i_parameters.stopToken,
        [&context = *_context, profile = std::move(ip_profile), parameters = i_parameters,
         ip_run](std::stop_token i_stop) {
            const JobInput input{profile->profile, parameters, context.enginePath, context.jobsDir, context.settingsDir,
                                 context.cache,    i_stop};
            return RunGuarded([&] { return ip_run(input); }, "The job failed: ");
        });
}

BuildProcessorStrategy::ProfilePointer BuildProcessorStrategy::_GetProfile() const
{
    return _context->registry.Get(GetMachineData().id);
}

} // namespace MachineService::BuildProcessor
