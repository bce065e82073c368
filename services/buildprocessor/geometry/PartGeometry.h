#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "tavam/Geometry.h"
#include "tavam/Platform.h"

#include <array>
#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// All meshes of one part as it stands on the platform.
/// Units: mm.
struct PartGeometry
{
    std::string name; ///< as GetPartLabel has it
    std::vector<TavAM::Point3d> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    TavAM::BoundingBox box;
    EngineSettings settings; ///< of this part alone
};

/// Box of what of the part lies below a height.
TavAM::BoundingBox GetBoxBelow(const PartGeometry& i_part, double i_z);

/// How a message calls a part: its name, or its number when it has none. UTF-8.
std::string GetPartLabel(const TavAM::Part& i_part, std::size_t i_index);

/// \param i_index of the part, for its label.
PartGeometry GetGeometry(const TavAM::Part& i_part, std::size_t i_index);
/// The geometries of all parts, in their order.
/// \throws CommunicationException FileError for no part, and naming parts that are not meshes altogether;
///         ProcessingAborted when the token asks.
std::vector<PartGeometry> GetGeometries(const TavAM::Platform& i_platform, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
