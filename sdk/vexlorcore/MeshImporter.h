#pragma once

#include "tavam/Part.h"
#include "vexlorcore_export.h"

#include <filesystem>
#include <vector>

namespace VexlorCore {

/// Reads the parts of a mesh file: STL (both kinds), 3MF, OBJ, PLY; lengths in mm whatever the file's unit.
///
/// The file comes from anywhere: its size, counts, numbers and indices are bounded and checked before they count.
///
/// Thread: any. Order of parts: the file's. A part is named after its object in the file, else after the file.
/// \throws TavAM::FileError naming the file and the reason.
VEXLORCORE_EXPORT std::vector<TavAM::Part> ImportMeshFile(const std::filesystem::path& i_path);

} // namespace VexlorCore
