#include "tavam/AMXPackageReader_p.h"

#include "tavam/AMXFormat_p.h"

#include <bit>
#include <cstring>

namespace TavAM {

static_assert(std::endian::native == std::endian::little, "meshes are copied between file and memory as they are");
static_assert(sizeof(Point3f) == 12 && sizeof(Mesh::triangles[0]) == 12);

std::shared_ptr<const Mesh> AMXPackageReader::ReadMesh(const std::string& i_entry)
{
    std::shared_ptr<const Mesh>& known = _meshes[i_entry];
    if (known)
        return known;
    TavSDK::ZipReader::Entry entry = _package.Open(i_entry);
    AMXFormat::MeshHeader header;
    const AMXFormat::MeshHeader expected;
    if (entry.Read(&header, sizeof(header)) != sizeof(header) ||
        std::memcmp(header.magic, expected.magic, sizeof(header.magic)) != 0)
        entry.Throw("is no mesh");
    if (header.version != expected.version)
        entry.Throw("is a mesh of the unknown format " + std::to_string(header.version));
    const std::uint64_t size = sizeof(header) + sizeof(Point3f) * std::uint64_t{header.vertexCount} +
                               sizeof(Mesh::triangles[0]) * std::uint64_t{header.triangleCount};
    if (size != entry.GetStatedSize())
        entry.Throw("its counts do not go with its size");
    auto mesh = std::make_shared<Mesh>();
    entry.ReadInto(mesh->vertices, header.vertexCount);
    entry.ReadInto(mesh->triangles, header.triangleCount);
    entry.RequireEnd();
    if (const std::string defect = FindMeshDefect(*mesh); !defect.empty())
        entry.Throw("the mesh cannot be used, " + defect);
    known = std::move(mesh);
    return known;
}

} // namespace TavAM
