#pragma once

#include "tavam/Geometry.h"
#include "vexlorcore/MeshFileCheck.h"

#include <string>
#include <vector>

namespace VexlorCore {

/// One object of a mesh file, with its name as the importer gives it.
struct NamedMesh
{
    std::string name;
    TavAM::Mesh mesh;
};

/// Objects of a checked mesh file, in mm, where the file places them. Runs the importer in a process of its own.
/// \throws std::runtime_error with the reason, without the file's name.
std::vector<NamedMesh> ReadMeshes(const std::string& i_bytes, const MeshFileFacts& i_facts);

} // namespace VexlorCore
