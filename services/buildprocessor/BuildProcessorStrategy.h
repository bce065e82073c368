#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "client/interface/CanRunAnswers.h"
#include "client/interface/MachineStrategy.h"

#include <memory>
#include <stop_token>
#include <type_traits>

namespace MachineService::BuildProcessor {

struct JobInput;
struct PlatformRequest;
struct ServiceContext;

/// One printer of the Build Processors.
///
/// Its data are those of the moment at which it was made; commands follow the profile as it is when they are asked.
/// What it has beyond an OfferedMachine: commands that do not wait behind builds, platforms that are told by a thread
/// and with progress, queues that refuse before anything waits.
///
/// Thread: any. Questions answer at once from local state; commands run on the service's job threads.
class BuildProcessorStrategy final : public MachineStrategy, public IExplainsCanRun
{
public:
    BuildProcessorStrategy(const DatedProfile& i_profile, std::shared_ptr<ServiceContext> ip_context);

    std::future<std::vector<CommandDescription>> GetCommands() const override;
    std::future<bool> CanRunCommand(const boost::uuids::uuid& i_command_id) const override;
    std::future<CanRunAnswer> ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const override;
    std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const override;
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override;
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string& i_parameters) const override;
    ProgressWatcherFuture<void> ModifyPlatform(const Platform& i_platform) const override;
    std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const override;
    std::future<CommandResult> Preprocessing(const CommandParameters& i_parameters) const override;
    std::future<ProfileAssignments> GetProfileAssignments() const override;

private:
    using ProfilePointer = std::shared_ptr<const DatedProfile>;

    /// Answers a short question on a thread of the service.
    /// \throws CommunicationException.
    template <class Answer>
    auto _Ask(std::stop_token i_stop, Answer i_answer) const
        -> std::future<std::invoke_result_t<Answer&, PlatformRequest>>;
    /// Runs it now on a thread of the service.
    /// \throws CommunicationException.
    std::future<CommandResult> _Submit(ProfilePointer ip_profile, const CommandParameters& i_parameters, bool i_slices,
                                       CommandResult (*ip_run)(const JobInput&)) const;
    /// \throws CommunicationException ServicesUnavailable, MachineNotFound.
    ProfilePointer _GetProfile() const;

    const std::shared_ptr<ServiceContext> _context;
};

} // namespace MachineService::BuildProcessor
