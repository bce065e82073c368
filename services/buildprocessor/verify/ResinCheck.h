#pragma once

#include "buildprocessor/engine/SlicingResult.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "buildprocessor/verify/SectionsAhead.h"

#include <filesystem>
#include <stop_token>
#include <vector>

namespace MachineService::BuildProcessor {

/// Begins with the sections that CheckResin needs, at the heights that are to be expected.
SectionsAhead ExpectResin(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts);

/// Reads the layer images of a resin printer and checks each against the sections of the meshes that they were made of:
/// where a part is, there is light, and nowhere else unless supports or a pad are built, but for a ring of pixels and
/// 2 % of the section; and gathers the estimates.
/// \throws CommunicationException InternalError with part, height and what is wrong; ProcessingAborted when the token
///         asks.
SlicingResult CheckResin(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                         const std::vector<PartGeometry>& i_parts, SectionsAhead& io_sections,
                         const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
