#pragma once

#include "client/interface/CommandTypes.h"

#include <QString>

#include <optional>
#include <string>

namespace MachineService {

struct MachineData;

/// Name of the command in the host, by its kind and, for the configure command, by the machine; empty for an unknown
/// kind.
std::optional<QString> GetCommandName(const CommandDescription& i_description, const MachineData& i_data);

/// What the machine calls the command. Bounded, one line.
QString GetMachinesTitle(const CommandDescription& i_description);
/// Text on the button: the kind's translated one, else the machine's.
QString GetCommandTitle(const CommandDescription& i_description, const MachineData& i_data);
/// The same for the tooltip, which is the status tip too.
QString GetCommandToolTip(const CommandDescription& i_description, const MachineData& i_data);

/// A service's UTF-8 text as plain text.
QString ToDisplayText(const std::string& i_text, int i_max_length);

} // namespace MachineService
