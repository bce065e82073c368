#include "contract/OfferedMachine.h"

#include "client/interface/CommunicationException.h"
#include "contract/PlatformFiles.h"

#include <algorithm>

namespace MachineService {

namespace {

bool AreSame(const OfferedCommand& i_left, const OfferedCommand& i_right)
{
    return i_left.description == i_right.description;
}

} // namespace

void CommandRun::Report(int i_percent, const std::string& i_stage) const
{
    if (stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    if (parameters.onProgress)
        parameters.onProgress(i_percent, i_stage);
}

std::shared_ptr<TavAM::Platform> CommandRun::ReadPlatform() const
{
    return ReadOnePlatform(parameters.inputFile);
}

CommandResult CommandRun::ReturnPlatform(const TavAM::Platform& i_platform, DataFormat i_format) const
{
    return WritePlatformResult(parameters.outputDir, i_platform, i_format);
}

const boost::uuids::uuid& GetId(const OfferedMachine& i_machine)
{
    return i_machine.data.id;
}

MachineChanges FindChanges(const OfferedMachine& i_old, const OfferedMachine& i_new)
{
    auto changes = MachineChanges::None;
    MachineData renamed = i_old.data;
    renamed.name = i_new.data.name;
    // What it does now is no configuration; that it was seen once more is no news at all.
    renamed.state = i_new.data.state;
    renamed.stateReasons = i_new.data.stateReasons;
    renamed.stateTime = i_new.data.stateTime;
    if (i_old.data.name != i_new.data.name)
        changes = changes | MachineChanges::NameChanged;
    if (renamed != i_new.data || i_old.platform != i_new.platform || i_old.strategies != i_new.strategies ||
        i_old.platformData != i_new.platformData)
        changes = changes | MachineChanges::ConfigurationChanged;
    if (!std::equal(i_old.commands.begin(), i_old.commands.end(), i_new.commands.begin(), i_new.commands.end(),
                    AreSame))
        changes = changes | MachineChanges::CommandsChanged;
    if (i_old.revision != i_new.revision || i_old.data.state != i_new.data.state ||
        i_old.data.stateReasons != i_new.data.stateReasons)
        changes = changes | MachineChanges::StateChanged;
    return changes;
}

} // namespace MachineService
