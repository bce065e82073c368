#pragma once

#include "machineservice_export.h"

#include <QString>

namespace MachineService {

/// What has to be so in the host before a printer's command is enabled; a host tells the user what is missing.
struct CommandConditions
{
    bool content = false;     ///< something to build in the active scene
    bool buildButton = false; ///< not CoreSettings::GetDisableBuildButton; otherwise the machine is asked
};

/// \param i_command_name of a command in the host. A machine's own command has no conditions.
MACHINESERVICE_EXPORT CommandConditions GetCommandConditions(const QString& i_command_name);

} // namespace MachineService
