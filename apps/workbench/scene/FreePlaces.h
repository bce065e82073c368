#pragma once

#include "client/interface/MachineData.h"
#include "tavam/Part.h"

#include <vector>

namespace Workbench {

/// Puts parts onto the bed beside what is there, near its middle, without turning them. A part for which there is no
/// room comes to lie beside the bed, where the plate shows it as a problem.
///
/// Units: mm.
/// \param i_taken boxes that nothing is put into, seen from above: parts that stay, zones; empty ones take no room.
void PlaceBeside(const std::vector<TavAM::BoundingBox>& i_taken, std::vector<TavAM::Part>& io_parts,
                 const MachineService::BuildVolume& i_volume);

} // namespace Workbench
