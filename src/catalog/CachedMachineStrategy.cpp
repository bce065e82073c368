#include "catalog/CachedMachineStrategy.h"

#include <chrono>
#include <utility>

namespace MachineService {

namespace {

constexpr std::chrono::milliseconds RefreshInterval{1000};

} // namespace

CachedMachineStrategy::CachedMachineStrategy(const Machine& i_machine, std::function<void()> i_on_changed)
    : MachineStrategy(i_machine.GetMachineData())
    , _machine(i_machine)
    , _onChanged(std::move(i_on_changed))
{}

CachedMachineStrategy::~CachedMachineStrategy()
{
    // A scene was detached or closed, usually on the UI thread, and its service may hang.
    if (_cache)
        _cache->Abandon();
}

std::future<std::vector<CommandDescription>> CachedMachineStrategy::GetCommands() const
{
    return _machine.GetCommands();
}

CanRunCommandCache& CachedMachineStrategy::_GetCache() const
{
    std::call_once(_cacheMade, [this] {
        CanRunCommandCache::Fetch fetch = [machine = _machine](const boost::uuids::uuid& i_id) {
            return machine.CanRunCommand(i_id);
        };
        if (_machine.TryExplain())
            fetch = [machine = _machine](const boost::uuids::uuid& i_id) {
                return machine.TryExplain()->ExplainCanRunCommand(i_id);
            };
        _cache = std::make_unique<CanRunCommandCache>(std::move(fetch), RefreshInterval, _onChanged);
        _knownCache = _cache.get();
    });
    return *_cache;
}

std::future<bool> CachedMachineStrategy::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    std::promise<bool> answer;
    answer.set_value(_GetCache().Get(i_command_id));
    return answer.get_future();
}

std::future<CanRunAnswer> CachedMachineStrategy::ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    const bool canRun = _GetCache().Get(i_command_id);
    std::promise<CanRunAnswer> answer;
    answer.set_value({canRun, GetKnownCanRunAnswer(i_command_id).answer.reason});
    return answer.get_future();
}

KnownCanRunAnswer CachedMachineStrategy::GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const
{
    const CanRunCommandCache* const cache = _knownCache;
    return cache ? cache->GetKnownCanRunAnswer(i_command_id) : KnownCanRunAnswer();
}

std::future<CommandResult> CachedMachineStrategy::RunCommand(const CommandParameters& i_parameters) const
{
    return _machine.RunCommand(i_parameters);
}

ProgressWatcherFuture<PlatformInfo> CachedMachineStrategy::GetPlatformInformation() const
{
    return _machine.GetPlatformInformation();
}

std::future<std::pair<CommandResult, Platform>>
CachedMachineStrategy::GetEmptyPlatform(const std::string& i_parameters) const
{
    return _machine.GetEmptyPlatform(i_parameters);
}

ProgressWatcherFuture<void> CachedMachineStrategy::ModifyPlatform(const Platform& i_platform) const
{
    return _machine.ModifyPlatform(i_platform);
}

std::future<CommandResult> CachedMachineStrategy::FillReportProperties(const CommandParameters& i_parameters) const
{
    return _machine.FillReportProperties(i_parameters);
}

std::future<CommandResult> CachedMachineStrategy::Preprocessing(const CommandParameters& i_parameters) const
{
    return _machine.Preprocessing(i_parameters);
}

std::future<ProfileAssignments> CachedMachineStrategy::GetProfileAssignments() const
{
    return _machine.GetProfileAssignments();
}

} // namespace MachineService
