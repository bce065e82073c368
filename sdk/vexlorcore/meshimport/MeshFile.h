#pragma once

#include "vexlorcore/meshimport/MeshReaders.h"

#include <string>
#include <string_view>
#include <vector>

namespace VexlorCore {

/// Reads a mesh file whose format its content tells, else its extension.
/// \param i_extension in lower case, with its dot.
/// \throws std::runtime_error with the reason, without the file's name.
std::vector<ReadPart> ReadMeshFile(std::string_view i_bytes, std::string_view i_extension);

} // namespace VexlorCore
