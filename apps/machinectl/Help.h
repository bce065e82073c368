#pragma once

#include <QString>

namespace MachineCtl {

struct CommandInfo;

// Texts made of the table of commands, in the user's language.

/// \param ip_command null: of all commands.
/// \param i_width cells of a line.
QString MakeHelp(const CommandInfo* ip_command, int i_width);
/// The man page, as roff.
QString MakeManual(const QString& i_version);
/// What bash reads to complete the commands.
QString MakeBashCompletion();

} // namespace MachineCtl
