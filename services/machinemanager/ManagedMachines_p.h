#pragma once

#include "client/interface/CanRunAnswers.h"
#include "client/interface/MachineStrategy.h"
#include "contract/JobScheduler.h"
#include "contract/MachineRegistry.h"
#include "machinemanager/ManagerCatalog.h"
#include "machinemanager/dispatch/MachineBoard.h"

namespace MachineService::MachineManager {

/// A machine as it is offered to hosts.
struct ManagedMachine
{
    MachineData data;
    boost::uuids::uuid original = {};
    bool isPaused = false;
    std::string pauseReason; ///< one sentence
};

const boost::uuids::uuid& GetId(const ManagedMachine& i_machine);
MachineChanges FindChanges(const ManagedMachine& i_old, const ManagedMachine& i_new);
ManagedMachine MakeManaged(const BoardMachine& i_machine);

/// What the catalog and the machines that it handed out share. Machines outlive the catalog: they then find it closed.
///
/// Thread: any.
struct ManagedMachines
{
    ManagedMachines(JobDesk& io_desk, MachineBoard& io_board, std::function<Actor(const std::string&)> i_find_actor,
                    std::function<JobListAddress(const boost::uuids::uuid&, const Actor&)> i_get_address)
        : desk(io_desk)
        , board(io_board)
        , findActor(std::move(i_find_actor))
        , getAddress(std::move(i_get_address))
    {}
    /// Stops all work and refuses what comes; called by the catalog, so that no thread outlives it.
    void Close()
    {
        registry.Close();
        submissions.Close();
    }

    JobDesk& desk;
    MachineBoard& board;
    const std::function<Actor(const std::string&)> findActor;
    const std::function<JobListAddress(const boost::uuids::uuid&, const Actor&)> getAddress;
    MachineRegistry<ManagedMachine> registry;
    JobScheduler submissions{4};
};

/// One machine that jobs are posted for. Its data are those of the moment at which it was made; everything else follows
/// the registry.
///
/// Thread: any.
class ManagedStrategy final : public MachineStrategy, public IExplainsCanRun
{
public:
    ManagedStrategy(const MachineData& i_data, std::shared_ptr<ManagedMachines> ip_machines);

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
    using MachinePointer = std::shared_ptr<const ManagedMachine>;

    /// \throws CommunicationException ServicesUnavailable, MachineNotFound.
    MachinePointer _Get() const;
    Machine _GetOriginal() const;

    const std::shared_ptr<ManagedMachines> _machines;
};

} // namespace MachineService::MachineManager
