#pragma once

#include "client/interface/CanRunAnswers.h"
#include "client/interface/MachineStrategy.h"
#include "contract/JobScheduler.h"
#include "contract/MachineRegistry.h"
#include "contract/OfferedMachine.h"

#include <memory>

namespace MachineService {

/// What the catalog and the machines that it handed out share. Machines outlive the catalog: they then find it closed.
///
/// Thread: any.
struct OfferedMachines
{
    explicit OfferedMachines(std::size_t i_threads)
        : jobs(i_threads)
    {}
    /// Stops all work and refuses what comes; called by the catalog, so that no thread outlives it.
    void Close()
    {
        registry.Close();
        jobs.Close();
        questions.Close();
    }

    MachineRegistry<OfferedMachine> registry;
    JobScheduler jobs;
    JobScheduler questions{2}; ///< short questions do not wait behind runs
};

/// One offered machine. Its data are those of the moment at which it was made; everything else follows the registry.
///
/// For services that say what they have as a table of machines. The Build Processors have a strategy of their own: all
/// their machines have the same commands, some of which do not wait behind builds; their platforms are told from files,
/// by a thread and with progress; and a profile has rules of its own for what is news. Here that would be a field each
/// that makers of small services had to read past.
///
/// Thread: any.
class OfferedMachineStrategy final : public MachineStrategy, public IExplainsCanRun
{
public:
    OfferedMachineStrategy(const MachineData& i_data, std::shared_ptr<OfferedMachines> ip_machines);

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
    using MachinePointer = std::shared_ptr<const OfferedMachine>;
    using Run = std::function<CommandResult(const CommandRun&)>;

    /// \throws CommunicationException ServicesUnavailable, MachineNotFound.
    MachinePointer _Get() const;
    /// Runs what i_choose finds in the machine, or answers that the machine does not offer i_what.
    template <class Choose>
    std::future<CommandResult> _Run(const CommandParameters& i_parameters, const char* ip_what,
                                    const Choose& i_choose) const;

    const std::shared_ptr<OfferedMachines> _machines;
};

} // namespace MachineService
