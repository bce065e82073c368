#pragma once

#include "hosting/jobs/JobsClient.h"
#include "machinectl/CommandLine.h"
#include "machinectl/Console.h"

#include <optional>
#include <stop_token>

namespace MachineCtl {

/// What a command has to do with: its line, the terminal, and the manager as soon as it is asked for.
///
/// Thread: one.
class Session
{
public:
    /// \param i_line and io_console must outlive it.
    Session(const CommandLine& i_line, Console& io_console, std::stop_token i_stop);

    const CommandLine& GetLine() const { return _line; }
    Console& GetConsole() { return _console; }
    bool WantsJson() const { return _line.Has("json"); }
    const std::stop_token& GetStopToken() const { return _stop; }
    const std::string& GetOperand(std::size_t i_place) const { return _line.operands.at(i_place); }

    /// The manager at the address of the command line; or else the user's own, which is started when it does not run.
    /// \throws JobsError NotReached, BadInput.
    const Hosting::JobsClient& GetClient();

private:
    const CommandLine& _line;
    Console& _console;
    const std::stop_token _stop;
    std::optional<Hosting::JobsClient> _client;
};

} // namespace MachineCtl
