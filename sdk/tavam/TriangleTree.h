#pragma once

#include "tavam/Geometry.h"
#include "tavam_export.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace TavAM {

inline Point3d operator-(const Point3d& i_a, const Point3d& i_b)
{
    return {i_a.x - i_b.x, i_a.y - i_b.y, i_a.z - i_b.z};
}
inline Point3d operator+(const Point3d& i_a, const Point3d& i_b)
{
    return {i_a.x + i_b.x, i_a.y + i_b.y, i_a.z + i_b.z};
}
inline Point3d operator*(const Point3d& i_a, double i_factor)
{
    return {i_a.x * i_factor, i_a.y * i_factor, i_a.z * i_factor};
}
inline double Dot(const Point3d& i_a, const Point3d& i_b)
{
    return i_a.x * i_b.x + i_a.y * i_b.y + i_a.z * i_b.z;
}
inline Point3d Cross(const Point3d& i_a, const Point3d& i_b)
{
    return {i_a.y * i_b.z - i_a.z * i_b.y, i_a.z * i_b.x - i_a.x * i_b.z, i_a.x * i_b.y - i_a.y * i_b.x};
}

struct Triangle
{
    std::array<Point3d, 3> corners;
    Point3d inward; ///< unit normal into the part
};

/// The surface of one part in a tree of boxes. A value; shared by threads that only read it.
/// Units: mm.
class TAVAM_EXPORT TriangleTree
{
public:
    /// Triangles are moved into the part by i_inset, mm; those without an area are left out.
    TriangleTree(const std::vector<Point3d>& i_vertices, const std::vector<std::array<std::uint32_t, 3>>& i_triangles,
                 double i_inset);

    const std::vector<Triangle>& GetTriangles() const { return _triangles; }
    /// Calls i_visit for pairs whose boxes overlap until it returns false.
    void ForEachPair(const TriangleTree& i_other,
                     const std::function<bool(const Triangle&, const Triangle&)>& i_visit) const;
    /// How often the surface winds round the point: 0 outside and in hollows.
    int GetWinding(const Point3d& i_point) const;

private:
    struct Node
    {
        BoundingBox box;
        std::uint32_t begin = 0;
        std::uint32_t end = 0;   ///< of the triangles of a leaf; 0 in an inner node
        std::uint32_t right = 0; ///< the left child follows its parent
    };

    void _Build(std::uint32_t i_begin, std::uint32_t i_end);

    std::vector<Triangle> _triangles;
    std::vector<Node> _nodes;
};

} // namespace TavAM
