#pragma once

#include "client/interface/CommandTypes.h"

#include <QString>

#include <cstddef>
#include <optional>
#include <string>

namespace MachineService {

struct MachineData;

/// Name of the command in the host, by its kind and, for the configure command, by the machine; empty for an unknown
/// kind.
std::optional<QString> GetCommandName(const CommandDescription& i_description, const MachineData& i_data);

/// Text on the button: the kind's translated one, else the machine's own. Bounded, one line.
QString GetCommandTitle(const CommandDescription& i_description, const QString& i_command_name);
/// The same for the tooltip, which is the status tip too.
QString GetCommandToolTip(const CommandDescription& i_description, const QString& i_command_name);

/// A service's UTF-8 text for display: at most this many characters, an ellipsis where it was cut.
QString ToDisplayText(const std::string& i_text, std::size_t i_max_length);

} // namespace MachineService
