#include "commands/CommandNames.h"

namespace MachineService {

const char* const BPCommandNameBuild = "Print3D.Print";
const char* const BPCommandNameConfigure = "Print3D.ConfigurePrinter";
const char* const BPCommandNameConfigureConnection = "Print3D.ConfigureConnection";
const char* const BPCommandNameConfigurPlatform = "Print3D.ConfigurPlatform";
const char* const BPCommandNameConfigureParts = "Print3D.ConfigureParts";
const char* const BPCommandNamePrintConsumptionEstimations = "Print3D.PrintConsumptionEstimations";
const char* const BPCommandNameAutomaticPlacement = "Print3D.AutomaticPlacement";
const char* const BPCommandNamePostJob = "Print3D.PostJob";
const char* const BPCommandNameCreateJobUrl = "Print3D.CreateJobUrl";

const char* const BPCommandsContext = "MultiPlatform.BuildProcessors";
const char* const CommandsDefaultRibbon = "tav.page.bp";
const char* const CommandsAssignmentRibbon = "tav.page.bp2";
const char* const CommandsDefaultGroup = "tav.group.bp.specific";

} // namespace MachineService
