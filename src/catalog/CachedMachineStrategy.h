#pragma once

#include "catalog/CanRunCommandCache.h"
#include "client/interface/Machine.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace MachineService {

/// A machine whose can-run answers come from a cache; everything else goes straight to the machine.
///
/// The first question makes the cache and its thread, so that a machine that nobody asks about costs neither.
class CachedMachineStrategy final : public MachineStrategy, public IKnowsCanRun, public IExplainsCanRun
{
public:
    /// \param i_on_changed called on the cache's thread when an answer changed; it must not wait.
    CachedMachineStrategy(const Machine& i_machine, std::function<void()> i_on_changed);
    /// Does not wait for a service that hangs.
    ~CachedMachineStrategy() override;

    std::future<std::vector<CommandDescription>> GetCommands() const override;
    /// The future is ready.
    std::future<bool> CanRunCommand(const boost::uuids::uuid& i_command_id) const override;
    /// The future is ready, as that of CanRunCommand; a question like it.
    std::future<CanRunAnswer> ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const override;
    KnownCanRunAnswer GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const override;
    std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const override;
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override;
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string& i_parameters) const override;
    ProgressWatcherFuture<void> ModifyPlatform(const Platform& i_platform) const override;
    std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const override;
    std::future<CommandResult> Preprocessing(const CommandParameters& i_parameters) const override;
    std::future<ProfileAssignments> GetProfileAssignments() const override;

private:
    CanRunCommandCache& _GetCache() const;

    const Machine _machine;
    const std::function<void()> _onChanged;
    mutable std::once_flag _cacheMade; // several threads may ask first
    mutable std::unique_ptr<CanRunCommandCache> _cache;
    mutable std::atomic<CanRunCommandCache*> _knownCache = nullptr; ///< _cache, for those who do not ask first
};

} // namespace MachineService
