#pragma once

#include "buildprocessor/platform/JobInput.h"

namespace MachineService::BuildProcessor {

// Commands about the parts on a platform, besides Build. All: any thread, blocking; whatever ends them early leaves
// nothing in the output folder. They throw as the commands of ConfigureCommands.h.

/// Slices for time and material; no machine file is kept.
CommandResult EstimateConsumption(const JobInput& i_input);
/// Places all parts on the bed, or names those that do not fit.
CommandResult PlaceAutomatically(const JobInput& i_input);
/// Checks bed, height and collisions without slicing. Fails with all that is wrong; otherwise notes that the platform
/// passed.
CommandResult CheckPlatform(const JobInput& i_input);

} // namespace MachineService::BuildProcessor
