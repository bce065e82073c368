#pragma once

#include "tavam/Geometry.h"
#include "vexlorcore/meshimport/MeshBuilder.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace VexlorCore {

/// Vertices and faces as a file lists them: faces of any number of corners, in any order, their indices unchecked.
class PolygonMesh
{
public:
    /// \throws std::runtime_error when there are too many.
    void AddVertex(const TavAM::Point3f& i_point);
    std::size_t GetVertexCount() const { return _vertices.size(); }
    /// Leaves out what has fewer than three corners: points and lines.
    /// \throws std::runtime_error when there are too many.
    void AddFace(std::span<const std::uint32_t> i_corners);
    /// The sound mesh, faces of more than three corners split into triangles.
    /// \throws std::runtime_error with the reason why there is none.
    TavAM::Mesh Take();

private:
    std::vector<TavAM::Point3f> _vertices;
    std::vector<std::uint32_t> _triangles; ///< three corners for each
    std::vector<std::uint32_t> _polygons;  ///< the corners of all larger faces, one after the other
    std::vector<std::size_t> _polygonEnds; ///< in _polygons
};

} // namespace VexlorCore
