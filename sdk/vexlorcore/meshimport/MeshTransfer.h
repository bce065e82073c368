#pragma once

#include "vexlorcore/meshimport/MeshReaders.h"

#include <cstddef>
#include <string>
#include <vector>

namespace VexlorCore {

/// Parts as bytes, for the way from one process to another on the same machine.
std::string PackParts(const std::vector<ReadPart>& i_parts);
/// Checked throughout: a process that a file has damaged may have written anything.
/// \throws std::runtime_error with the reason.
std::vector<ReadPart> UnpackParts(const std::string& i_bytes);

} // namespace VexlorCore
