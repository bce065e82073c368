#pragma once

#include "client/interface/MachineData.h"
#include "tavam/Part.h"

#include <vector>

namespace Workbench {

/// Puts parts onto the bed beside those that are there, near its middle, without turning them. A part for which there
/// is no room comes to lie beside the bed, where the plate shows it as a problem.
///
/// Units: mm.
/// \param i_there stay where they are.
void PlaceBeside(const std::vector<TavAM::Part>& i_there, std::vector<TavAM::Part>& io_parts,
                 const MachineService::BuildVolume& i_volume);

} // namespace Workbench
