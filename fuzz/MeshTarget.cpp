// One source for all mesh formats; MESH_EXTENSION says which of them the target reads.
#include "Fuzz.h"

#include "vexlorcore/meshimport/MeshFile.h"
#include "vexlorcore/meshimport/MeshTransfer.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    std::vector<VexlorCore::ReadPart> parts;
    try {
        parts = VexlorCore::ReadMeshFile(Fuzz::ToText(ip_data, i_size), MESH_EXTENSION);
    } catch (const std::runtime_error& failure) {
        Fuzz::RequireSentence(failure);
        return 0;
    }
    Fuzz::Require(!parts.empty(), "a file that is read has a part");
    const auto unpacked = VexlorCore::UnpackParts(VexlorCore::PackParts(parts));
    Fuzz::Require(unpacked.size() == parts.size(), "all parts arrive");
    for (std::size_t index = 0; index < parts.size(); ++index) {
        Fuzz::Require(TavAM::FindMeshDefect(parts[index].mesh).empty(), "meshes are sound");
        Fuzz::Require(unpacked[index].mesh == parts[index].mesh && unpacked[index].name == parts[index].name,
                      "parts arrive as they were read");
    }
    return 0;
}
