#pragma once

#include "buildprocessor/geometry/PartGeometry.h"

#include <filesystem>
#include <stop_token>
#include <vector>

namespace MachineService::BuildProcessor {

/// Writes the parts as objects of a 3MF file in millimetres, in their order and where they stand, with the settings
/// that are theirs alone.
/// \throws CommunicationException FileError; ProcessingAborted when the token asked.
void WriteEngineModel(const std::vector<PartGeometry>& i_parts, const std::filesystem::path& i_path,
                      std::stop_token i_stop);

} // namespace MachineService::BuildProcessor
