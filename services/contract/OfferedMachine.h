#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/MachineData.h"
#include "client/interface/PlatformTypes.h"
#include "contract/PlatformChoices.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace TavAM {
class Platform;
}

namespace MachineService {

/// One run of a command, as the function behind it gets it.
struct CommandRun
{
    const CommandParameters& parameters;
    /// Set when the caller gives up or the service stops; come back soon afterwards, with whatever exception.
    std::stop_token stop;

    /// Tells the caller how far the run is.
    /// \param i_percent 0 to 100, rising.
    /// \throws CommunicationException ProcessingAborted when the run is to stop.
    void Report(int i_percent, const std::string& i_stage) const;
    /// The one platform of the input file.
    /// \throws CommunicationException FileError.
    std::shared_ptr<TavAM::Platform> ReadPlatform() const;
    /// Puts the platform into the output folder as the result of the run.
    /// \param i_format what of it the host takes, Platform to AdditionalParts.
    CommandResult ReturnPlatform(const TavAM::Platform& i_platform, DataFormat i_format) const;
};

/// A command and what it does.
struct OfferedCommand
{
    CommandDescription description;
    /// On a thread of the service, one run at a time for each machine. What it throws reaches the user: a
    /// CommunicationException by its code, anything else with its text.
    std::function<CommandResult(const CommandRun&)> run;
    /// Whether the command can run now; asked often and on any thread: answer from local state. Empty: it always can.
    std::function<bool()> canRun;
    /// Why it cannot run now, one sentence for the user; asked after canRun said no, in the same way. May be empty.
    std::function<std::string()> whyNot = {};
};

/// A machine as its maker describes it: data, choices and commands, and for the rest of the contract a function each.
///
/// What is left empty is answered for the maker: a platform without parts that carries the choices; no strategies; a
/// sentence that the machine does not offer it for everything else.
/// Thread: the functions are called on threads of the service.
struct OfferedMachine
{
    MachineData data; ///< with an id that stays the same for ever
    /// Name and comment are the machine's own where they are empty.
    PlatformDescription platform;
    std::vector<OfferedCommand> commands; ///< in the order in which they are shown
    ProfileAssignments strategies;
    /// Beside the platform, for example a PLDF file (PlatformDataKind::MachineConfiguration).
    std::vector<Platform> platformData;
    /// Counts up when something changed that does not show in the fields above, such as a function.
    int revision = 0;

    std::function<std::pair<CommandResult, Platform>(const ChosenValues&, std::stop_token)> makeEmptyPlatform;
    std::function<void(const Platform&, std::stop_token)> modifyPlatform;
    std::function<CommandResult(const CommandRun&)> fillReportProperties;
    std::function<CommandResult(const CommandRun&)> preprocess;
};

const boost::uuids::uuid& GetId(const OfferedMachine& i_machine);
/// What differs, as news of the machine; a difference of functions is not seen, but that of the revision is.
MachineChanges FindChanges(const OfferedMachine& i_old, const OfferedMachine& i_new);

} // namespace MachineService
