#pragma once

#include "client/interface/MachineData.h"
#include "tavam/Part.h"

#include <vector>

namespace Hosting {

/// Sets the parts onto the bed, side by side in rows around its middle, in their order and without turning them.
///
/// A start for the user, not a nesting: parts that do not fit end up beside the bed, where the machine will name them.
/// Parts without a mesh keep their place.
///
/// Units: mm.
void PlaceInRows(std::vector<TavAM::Part>& io_parts, const MachineService::BuildVolume& i_volume);

} // namespace Hosting
