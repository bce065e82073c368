#include "client/interface/Machine.h"

#include <stdexcept>

namespace MachineService {

namespace {

/// Whatever the strategy calls may destroy the last machine that has it: it lives until its answer is made.
std::shared_ptr<const MachineStrategy> Held(const std::shared_ptr<const MachineStrategy>& ip_strategy)
{
    return ip_strategy;
}

} // namespace

Machine::Machine(std::unique_ptr<MachineStrategy>&& i_strategy)
    : _strategy(std::move(i_strategy))
{
    if (!_strategy)
        throw std::runtime_error("machine strategy is nullptr");
}

Machine::Machine(const Machine&) = default;
Machine& Machine::operator=(const Machine&) = default;
Machine::~Machine() = default;

const MachineData Machine::GetMachineData() const
{
    return _strategy->GetMachineData();
}

std::future<std::vector<CommandDescription>> Machine::GetCommands() const
{
    return Held(_strategy)->GetCommands();
}

std::future<bool> Machine::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Held(_strategy)->CanRunCommand(i_command_id);
}

const IExplainsCanRun* Machine::TryExplain() const
{
    return dynamic_cast<const IExplainsCanRun*>(_strategy.get());
}

std::optional<KnownCanRunAnswer> Machine::GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const
{
    const auto strategy = Held(_strategy);
    const auto* const answers = dynamic_cast<const IKnowsCanRun*>(strategy.get());
    return answers ? std::optional(answers->GetKnownCanRunAnswer(i_command_id)) : std::nullopt;
}

std::future<CommandResult> Machine::RunCommand(const CommandParameters& i_parameters) const
{
    return Held(_strategy)->RunCommand(i_parameters);
}

std::future<CommandResult> Machine::Preprocessing(const CommandParameters& i_parameters) const
{
    return Held(_strategy)->Preprocessing(i_parameters);
}

std::future<CommandResult> Machine::FillReportProperties(const CommandParameters& i_parameters) const
{
    return Held(_strategy)->FillReportProperties(i_parameters);
}

ProgressWatcherFuture<PlatformInfo> Machine::GetPlatformInformation() const
{
    return Held(_strategy)->GetPlatformInformation();
}

std::future<std::pair<CommandResult, Platform>> Machine::GetEmptyPlatform(const std::string& i_parameters) const
{
    return Held(_strategy)->GetEmptyPlatform(i_parameters);
}

ProgressWatcherFuture<void> Machine::ModifyPlatform(const Platform& i_platform) const
{
    return Held(_strategy)->ModifyPlatform(i_platform);
}

std::future<ProfileAssignments> Machine::GetProfileAssignments() const
{
    return Held(_strategy)->GetProfileAssignments();
}

} // namespace MachineService
