#pragma once

#include "buildprocessor/MachineSettings.h"
#include "tavam/MachineParameters.h"

#include <string>

namespace MachineService::BuildProcessor {

// What this service tells of a machine, as parameters of a platform file and as a PLDF document: the same in both.
// Names, units and rules stand in docs/pldf-format.md. Material, layer height, nozzle and plate are the profile's
// defaults.

TavAM::MachineParameters MakeMachineParameters(const MachineProfile& i_profile, const MachineSettings& i_settings);
/// \throws std::runtime_error for a text that XML cannot carry.
std::string MakeMachineConfiguration(const MachineProfile& i_profile, const MachineSettings& i_settings);

} // namespace MachineService::BuildProcessor
