#pragma once

#include "client/interface/CanRunAnswers.h"
#include "client/interface/MachineStrategy.h"
#include "machineservice_export.h"

#include <memory>
#include <optional>

namespace MachineService {

/// One printer, as a value: scenes, commands and caches keep copies.
///
/// Copies share one strategy; it goes with the last copy, which may outlive the client and the catalog that made it.
/// The data are those of the moment at which the machine was handed out: ask the catalog again for news.
///
/// Thread: operations may be called on any thread; one object is not assigned while another thread reads it.
class MACHINESERVICE_EXPORT Machine
{
public:
    /// \throws std::runtime_error "machine strategy is nullptr".
    explicit Machine(std::unique_ptr<MachineStrategy>&& i_strategy);
    Machine(const Machine& i_other);
    Machine& operator=(const Machine& i_other);
    virtual ~Machine();

    const MachineData GetMachineData() const;
    std::future<std::vector<CommandDescription>> GetCommands() const;
    std::future<bool> CanRunCommand(const boost::uuids::uuid& i_command_id) const;
    /// Null when the machine gives no sentence with its no. Valid as long as a copy of the machine.
    const IExplainsCanRun* TryExplain() const;
    /// Not a question, and ready at once; empty for a machine that keeps no answers: those of the client do.
    std::optional<KnownCanRunAnswer> GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const;
    std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const;
    std::future<CommandResult> Preprocessing(const CommandParameters& i_parameters) const;
    std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const;
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const;
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string& i_parameters) const;
    ProgressWatcherFuture<void> ModifyPlatform(const Platform& i_platform) const;
    std::future<ProfileAssignments> GetProfileAssignments() const;

private:
    std::shared_ptr<const MachineStrategy> _strategy;
};

} // namespace MachineService
