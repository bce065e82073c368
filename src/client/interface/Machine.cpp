#include "client/interface/Machine.h"

#include <stdexcept>

namespace MachineService {

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
    return _strategy->GetCommands();
}

std::future<bool> Machine::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return _strategy->CanRunCommand(i_command_id);
}

std::future<CommandResult> Machine::RunCommand(const CommandParameters& i_parameters) const
{
    return _strategy->RunCommand(i_parameters);
}

std::future<CommandResult> Machine::Preprocessing(const CommandParameters& i_parameters) const
{
    return _strategy->Preprocessing(i_parameters);
}

std::future<CommandResult> Machine::FillReportProperties(const CommandParameters& i_parameters) const
{
    return _strategy->FillReportProperties(i_parameters);
}

ProgressWatcherFuture<PlatformInfo> Machine::GetPlatformInformation() const
{
    return _strategy->GetPlatformInformation();
}

std::future<std::pair<CommandResult, Platform>> Machine::GetEmptyPlatform(const std::string& i_parameters) const
{
    return _strategy->GetEmptyPlatform(i_parameters);
}

ProgressWatcherFuture<void> Machine::ModifyPlatform(const Platform& i_platform) const
{
    return _strategy->ModifyPlatform(i_platform);
}

std::future<ProfileAssignments> Machine::GetProfileAssignments() const
{
    return _strategy->GetProfileAssignments();
}

} // namespace MachineService
