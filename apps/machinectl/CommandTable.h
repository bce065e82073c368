#pragma once

#include "machinectl/ExitStatus.h"

#include <span>
#include <string_view>

namespace MachineCtl {

class Session;

// What can be typed, in one table: the parser, --help, the man page and the completion of shells are made from it.
// Texts are of the translations' context MachineCtl::Table.

/// What a shell completes in the place of a value.
enum class Values
{
    None, ///< there is no value
    Any,
    Files,
    Words, ///< those of `words`
};

struct OptionInfo
{
    const char* name;
    Values values;
    const char* placeholder; ///< of the value
    const char* help;
    const char* words = ""; ///< separated by spaces
};

struct CommandInfo
{
    const char* name;
    const char* operands; ///< as the help shows them
    int least;            ///< of operands
    int most;
    Values values; ///< of the first operand
    const char* words;
    std::span<const OptionInfo> options;
    const char* help; ///< what it does, as one sentence
    const char* more; ///< further sentences; may be empty
    ExitStatus (*run)(Session& io_session);
};

/// Names of all states of jobs, separated by spaces.
inline constexpr const char* JobStates =
    "pending pending-held processing processing-stopped canceled aborted completed";

/// For every command.
std::span<const OptionInfo> GetCommonOptions();
std::span<const CommandInfo> GetCommands();
/// Null when there is none.
const CommandInfo* FindCommand(std::string_view i_name);

} // namespace MachineCtl
