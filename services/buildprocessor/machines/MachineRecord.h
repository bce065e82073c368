#pragma once

#include "buildprocessor/machines/MachineSettings.h"
#include "tavam/MachineParameters.h"

#include <string>

namespace MachineService::BuildProcessor {

// What this service tells of a machine, as parameters of a platform file and as PLDF: the same in both. Names, units
// and rules are in docs/pldf-format.md. Material, layer height, nozzle and plate are the profile's defaults.

TavAM::MachineParameters MakeMachineParameters(const MachineProfile& i_profile, const MachineSettings& i_settings);
/// \throws std::invalid_argument for a text that XML cannot carry.
std::string MakePldf(const MachineProfile& i_profile, const MachineSettings& i_settings);

} // namespace MachineService::BuildProcessor
