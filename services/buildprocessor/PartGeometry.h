#pragma once

#include "buildprocessor/MachineProfile.h"
#include "tavam/Geometry.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// All meshes of one part as it stands on the platform. Units: mm.
struct PartGeometry
{
    std::string name; ///< UTF-8
    std::vector<TavAM::Point3d> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    TavAM::BoundingBox box;
    EngineSettings settings; ///< of this part alone
};

/// "'a', 'b' and 3 more"; names are cut to a length that a message box can show.
std::string JoinNames(const std::vector<std::string>& i_names);

} // namespace MachineService::BuildProcessor
