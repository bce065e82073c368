#pragma once

#include "buildprocessor/engine/SlicingResult.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "buildprocessor/verify/SectionsAhead.h"

#include <filesystem>
#include <stop_token>
#include <vector>

namespace MachineService::BuildProcessor {

/// Begins with the sections that CheckGCode needs, at the heights that are to be expected.
SectionsAhead ExpectGCode(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts);

/// Reads G-code of the engine once: checks it, layer by layer, against the meshes that it was made of, and that it
/// leaves heaters and motors off; and gathers its estimates. Layers, widths and heights are those that the file itself
/// tells.
/// \throws CommunicationException InternalError with part, height and what is wrong; FileError for a part that nothing
///         carries; ProcessingAborted when the token asks.
SlicingResult CheckGCode(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                         const std::vector<PartGeometry>& i_parts, SectionsAhead& io_sections,
                         const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
