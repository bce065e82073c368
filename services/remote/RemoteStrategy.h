#pragma once

#include "client/interface/CanRunAnswers.h"
#include "client/interface/MachineStrategy.h"
#include "remote/MachineStore.h"
#include "remote/RemoteService.h"

#include <memory>

namespace MachineService::Remote {

/// One machine of a service in another process. Its data are those of the moment at which it was made; everything else
/// follows the service.
///
/// Thread: any; nothing waits for the service but on threads of the service's own.
class RemoteStrategy final : public MachineStrategy, public IExplainsCanRun
{
public:
    RemoteStrategy(const MachineData& i_data, std::shared_ptr<RemoteService> ip_service);

    std::future<std::vector<CommandDescription>> GetCommands() const override;
    std::future<bool> CanRunCommand(const boost::uuids::uuid& i_command_id) const override;
    /// Ready while the service is lost, or was asked within the last moment.
    std::future<CanRunAnswer> ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const override;
    std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const override;
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override;
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string& i_parameters) const override;
    ProgressWatcherFuture<void> ModifyPlatform(const Platform& i_platform) const override;
    std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const override;
    std::future<CommandResult> Preprocessing(const CommandParameters& i_parameters) const override;
    std::future<ProfileAssignments> GetProfileAssignments() const override;

private:
    /// In the form that this is of.
    /// \throws CommunicationException ServicesUnavailable, MachineNotFound.
    std::shared_ptr<const StoredMachine> _Get() const;
    pb::MachineReference _GetReference() const;
    std::future<CommandResult> _Run(pb::RunKind i_kind, const CommandParameters& i_parameters) const;

    const std::shared_ptr<RemoteService> _service;
};

} // namespace MachineService::Remote
