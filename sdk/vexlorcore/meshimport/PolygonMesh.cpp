#include "vexlorcore/meshimport/PolygonMesh.h"

#include "vexlorcore/meshimport/MeshBounds.h"
#include "vexlorcore/meshimport/PolygonSplitter.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace VexlorCore {

namespace {

/// Splitting takes time in proportion to the square of the corners.
constexpr std::size_t MostCorners = 10'000;

} // namespace

void PolygonMesh::AddVertex(const TavAM::Point3f& i_point)
{
    if (_vertices.size() == MeshBounds::Vertices)
        throw std::runtime_error("it holds more than " + std::to_string(MeshBounds::Vertices) + " vertices");
    _vertices.push_back(i_point);
}

void PolygonMesh::AddFace(std::span<const std::uint32_t> i_corners)
{
    if (i_corners.size() < 3)
        return;
    // A polygon becomes two triangles fewer than it has corners.
    if (_triangles.size() / 3 + _polygons.size() + i_corners.size() - 2 > MeshBounds::Triangles)
        throw std::runtime_error("it holds more than " + std::to_string(MeshBounds::Triangles) + " triangles");
    if (i_corners.size() > MostCorners)
        throw std::runtime_error("it has a face of more than " + std::to_string(MostCorners) + " corners");
    if (i_corners.size() == 3) {
        _triangles.insert(_triangles.end(), i_corners.begin(), i_corners.end());
        return;
    }
    _polygons.insert(_polygons.end(), i_corners.begin(), i_corners.end());
    _polygonEnds.push_back(_polygons.size());
}

TavAM::Mesh PolygonMesh::Take()
{
    for (const auto* corners : {&_triangles, &_polygons}) {
        const auto largest = std::ranges::max_element(*corners);
        if (largest != corners->end() && *largest >= _vertices.size())
            throw std::runtime_error("a face refers to the vertex " + std::to_string(*largest) +
                                     ", counted from 0, of " + std::to_string(_vertices.size()));
    }
    if (!_polygonEnds.empty())
        SplitPolygons(_vertices, _polygons, _polygonEnds, _triangles);

    MeshBuilder builder;
    for (std::size_t i = 0; i + 2 < _triangles.size(); i += 3) {
        const auto a = builder.AddVertex(_vertices[_triangles[i]]);
        const auto b = builder.AddVertex(_vertices[_triangles[i + 1]]);
        builder.AddTriangle(a, b, builder.AddVertex(_vertices[_triangles[i + 2]]));
    }
    return builder.Take();
}

} // namespace VexlorCore
