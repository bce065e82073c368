#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// Reads G-code of the engine and checks it, layer by layer, against the meshes that it was made of; and that it leaves
/// heaters and motors off. Layers, widths and heights are those that the file itself tells.
/// \return notes for the user, a sentence each.
/// \throws CommunicationException InternalError with part, height and what is wrong; FileError for a part that nothing
///         carries; ProcessingAborted when the token asks.
std::vector<std::string> CheckGCode(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                                    const std::vector<PartGeometry>& i_parts, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
