#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "contract/PlatformChoices.h"

#include <vector>

namespace MachineService::BuildProcessor {

/// The choices of a printer: material or resin, which is required, layer height, nozzle, plate. The id of each is the
/// name of the platform's property that keeps it, see PropertyName.
/// \param i_defaults the profile with what its platforms have unless they say otherwise.
std::vector<PlatformChoice> GetPlatformChoices(const MachineProfile& i_profile, const MachineProfile& i_defaults);

} // namespace MachineService::BuildProcessor
