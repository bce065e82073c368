#include "vexlorcore/meshimport/MeshBuilder.h"

#include "vexlorcore/meshimport/MeshBounds.h"

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace VexlorCore {

std::size_t MeshBuilder::Hash::operator()(const TavAM::Point3f& i_point) const
{
    std::size_t hash = 0;
    for (const float value : {i_point.x, i_point.y, i_point.z}) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        hash = (hash ^ bits) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29U;
    }
    return hash;
}

std::uint32_t MeshBuilder::AddVertex(TavAM::Point3f i_point)
{
    // A point that is not a number equals none and would never be found again.
    if (std::isnan(i_point.x) || std::isnan(i_point.y) || std::isnan(i_point.z))
        throw std::runtime_error("it holds a coordinate that is not a number");
    // Zero has two bit patterns.
    for (float* value : {&i_point.x, &i_point.y, &i_point.z}) {
        if (*value == 0.0F)
            *value = 0.0F;
    }
    const auto [found, isNew] = _indices.try_emplace(i_point, static_cast<std::uint32_t>(_mesh.vertices.size()));
    if (isNew)
        _mesh.vertices.push_back(i_point);
    return found->second;
}

void MeshBuilder::AddTriangle(std::uint32_t i_a, std::uint32_t i_b, std::uint32_t i_c)
{
    if (_mesh.triangles.size() + _leftOut >= MeshBounds::Triangles)
        throw std::runtime_error("it holds more than " + std::to_string(MeshBounds::Triangles) + " triangles");
    if (i_a == i_b || i_b == i_c || i_c == i_a)
        ++_leftOut;
    else
        _mesh.triangles.push_back({i_a, i_b, i_c});
}

TavAM::Mesh MeshBuilder::Take()
{
    if (_mesh.triangles.empty())
        throw std::runtime_error(_leftOut > 0 ? "none of its triangles has three different corners"
                                              : "it holds no triangle");
    if (const auto defect = TavAM::FindMeshDefect(_mesh); !defect.empty())
        throw std::runtime_error(defect);
    _indices.clear();
    return std::move(_mesh);
}

} // namespace VexlorCore
