#include "buildprocessor/BuildProcessorStrategy.h"

#include "buildprocessor/BuildJob.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/ServiceContext.h"

#include <boost/uuid/string_generator.hpp>

#include <type_traits>

namespace MachineService::BuildProcessor {

namespace {

/// A future that is ready: i_answer's result or what it throws.
template <class Answer>
auto Ready(Answer i_answer) -> std::future<std::invoke_result_t<Answer>>
{
    using Result = std::invoke_result_t<Answer>;
    std::promise<Result> promise;
    try {
        if constexpr (std::is_void_v<Result>) {
            i_answer();
            promise.set_value();
        } else {
            promise.set_value(i_answer());
        }
    } catch (...) {
        promise.set_exception(std::current_exception());
    }
    return promise.get_future();
}

} // namespace

const boost::uuids::uuid& GetBuildCommandId()
{
    static const auto id = boost::uuids::string_generator()("8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4101");
    return id;
}

BuildProcessorStrategy::BuildProcessorStrategy(const DatedProfile& i_profile,
                                               std::shared_ptr<ServiceContext> ip_context)
    : MachineStrategy(ToMachineData(i_profile))
    , _context(std::move(ip_context))
{}

std::future<std::vector<CommandDescription>> BuildProcessorStrategy::GetCommands() const
{
    return Ready([this] {
        _GetProfile();
        CommandDescription build;
        build.type = CommandType::Build;
        build.id = GetBuildCommandId();
        build.dataFormat = DataFormat::Platform;
        build.name = "Build";
        build.description = "Prepares the parts for this printer and writes the machine file.";
        return std::vector{build};
    });
}

std::future<bool> BuildProcessorStrategy::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&] {
        return i_command_id == GetBuildCommandId() && GetRefusal(_GetProfile()->profile.queueState) == ErrorCode::None;
    });
}

std::future<CommandResult> BuildProcessorStrategy::RunCommand(const CommandParameters& i_parameters) const
{
    try {
        const auto profile = _GetProfile();
        if (i_parameters.commandId != GetBuildCommandId())
            throw CommunicationException(ErrorCode::CommandNotFound);
        if (const auto refusal = GetRefusal(profile->profile.queueState); refusal != ErrorCode::None)
            throw CommunicationException(refusal);
        // The context closes its scheduler before it goes, which waits for this work.
        return _context->jobs.Submit(
            profile->profile.id, i_parameters.stopToken,
            [&context = *_context, profile, parameters = i_parameters](std::stop_token i_stop) {
                return RunBuild({profile->profile, parameters, context.enginePath, context.jobsDir, i_stop});
            });
    } catch (...) {
        return Ready([failure = std::current_exception()]() -> CommandResult { std::rethrow_exception(failure); });
    }
}

ProgressWatcherFuture<PlatformInfo> BuildProcessorStrategy::GetPlatformInformation() const
{
    return ProgressWatcherFuture(Ready([this]() -> PlatformInfo { _RefuseMissing("platform information"); }));
}

std::future<std::pair<CommandResult, Platform>>
BuildProcessorStrategy::GetEmptyPlatform(const std::string& /*i_parameters*/) const
{
    return Ready([this]() -> std::pair<CommandResult, Platform> { _RefuseMissing("empty platforms"); });
}

ProgressWatcherFuture<void> BuildProcessorStrategy::ModifyPlatform(const Platform& /*i_platform*/) const
{
    return ProgressWatcherFuture(Ready([this] { _RefuseMissing("changes of a platform"); }));
}

std::future<CommandResult> BuildProcessorStrategy::FillReportProperties(const CommandParameters& /*i_parameters*/) const
{
    return Ready([this]() -> CommandResult {
        _GetProfile();
        throw CommunicationException(ErrorCode::ReportNotSupported);
    });
}

std::future<CommandResult> BuildProcessorStrategy::Preprocessing(const CommandParameters& /*i_parameters*/) const
{
    return Ready([this]() -> CommandResult { _RefuseMissing("preprocessing"); });
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

MachineRegistry::ProfilePointer BuildProcessorStrategy::_GetProfile() const
{
    if (auto profile = _context->registry.Find(GetMachineData().id))
        return profile;
    throw CommunicationException(_context->registry.IsClosed() ? ErrorCode::ServicesUnavailable
                                                               : ErrorCode::MachineNotFound);
}

void BuildProcessorStrategy::_RefuseMissing(const char* ip_what) const
{
    // Not one of the codes with a sentence of their own: the user is to read which machine does not offer what.
    Fail(ErrorCode::InternalError, "The printer '" + _GetProfile()->profile.name + "' does not offer " + ip_what + '.');
}

} // namespace MachineService::BuildProcessor
