#pragma once

#include "buildprocessor/engine/Estimates.h"
#include "tavam/Platform.h"

namespace MachineService::BuildProcessor {

/// Writes the estimates to the properties of the platform and its parts (TavAM::PropertyNames::Print3D) in place of
/// those of an earlier job.
void StoreEstimates(const Estimates& i_estimates, const Material& i_material, TavAM::Platform& io_platform);

} // namespace MachineService::BuildProcessor
