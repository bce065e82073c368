#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <stop_token>
#include <vector>

namespace MachineService::BuildProcessor {

/// Reads the layer images of a resin printer and checks each against the sections of the meshes that they were made of:
/// where a part is, there is light, and nowhere else unless supports or a pad are built, but for a ring of pixels and 2
/// % of the section. \throws CommunicationException InternalError with part, height and what is wrong;
/// ProcessingAborted when the token
///         asks.
void CheckResin(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                const std::vector<PartGeometry>& i_parts, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
