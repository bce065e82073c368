#pragma once

#include "buildprocessor/geometry/PartGeometry.h"

#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// Meshes of each two parts whose boxes overlap: do surfaces cross, or does one part lie inside the other? Parts may
/// touch; what overlaps by less than 0.01 mm counts as touching. A part may stand in a hollow of another.
/// \throws CommunicationException FileError that names the parts that collide; ProcessingAborted when the token asked.
void CheckCollisions(const std::vector<PartGeometry>& i_parts, std::stop_token i_stop);

/// Names of the parts that collide with a body, as above, by body.
std::vector<std::vector<std::string>> FindCollidingParts(const std::vector<PartGeometry>& i_parts,
                                                         const std::vector<PartGeometry>& i_bodies,
                                                         const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
