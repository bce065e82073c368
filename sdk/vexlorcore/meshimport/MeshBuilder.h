#pragma once

#include "tavam/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace VexlorCore {

/// Gathers the triangles of a part. Vertices at the same place are joined: what one file shares between triangles
/// another repeats for each of them.
class MeshBuilder
{
public:
    /// \return the index for triangles.
    /// \throws std::runtime_error for a coordinate that is not a number.
    std::uint32_t AddVertex(TavAM::Point3f i_point);
    /// Leaves out a triangle that has two corners in one place.
    /// \throws std::runtime_error when there are too many.
    void AddTriangle(std::uint32_t i_a, std::uint32_t i_b, std::uint32_t i_c);
    /// From here on no vertex is joined with an earlier one: bodies that touch each other stay closed, each by itself.
    void BeginBody() { _indices.clear(); }

    /// \throws std::runtime_error with the reason why the part cannot be used, for example that it has no triangle.
    TavAM::Mesh Take();

private:
    struct Hash
    {
        std::size_t operator()(const TavAM::Point3f& i_point) const;
    };

    TavAM::Mesh _mesh;
    std::unordered_map<TavAM::Point3f, std::uint32_t, Hash> _indices;
    std::size_t _leftOut = 0;
};

} // namespace VexlorCore
