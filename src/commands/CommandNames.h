#pragma once

#include "machineservice_export.h"

namespace MachineService {

// Names of the printer's commands in the host, and where the host places them. Published identifiers: they do not
// change, not even the ones that are misspelt. The machine's own commands are named by
// Utilities::GetDynamicCommandName.

MACHINESERVICE_EXPORT extern const char* const BPCommandNameBuild;
MACHINESERVICE_EXPORT extern const char* const BPCommandNameConfigure;
MACHINESERVICE_EXPORT extern const char* const BPCommandNameConfigureConnection;
MACHINESERVICE_EXPORT extern const char* const BPCommandNameConfigurPlatform;
MACHINESERVICE_EXPORT extern const char* const BPCommandNameConfigureParts;
MACHINESERVICE_EXPORT extern const char* const BPCommandNamePrintConsumptionEstimations;
MACHINESERVICE_EXPORT extern const char* const BPCommandNameAutomaticPlacement;
MACHINESERVICE_EXPORT extern const char* const BPCommandNamePostJob;
MACHINESERVICE_EXPORT extern const char* const BPCommandNameCreateJobUrl;

/// Context that every printer command carries.
MACHINESERVICE_EXPORT extern const char* const BPCommandsContext;
/// Page of the ribbon for the commands of the attached printer.
MACHINESERVICE_EXPORT extern const char* const CommandsDefaultRibbon;
/// Page of the ribbon for assignments to parts.
MACHINESERVICE_EXPORT extern const char* const CommandsAssignmentRibbon;
/// Group of the page that takes the commands.
MACHINESERVICE_EXPORT extern const char* const CommandsDefaultGroup;

} // namespace MachineService
