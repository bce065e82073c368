#include "tavam/TriangleTree.h"

#include <algorithm>
#include <cmath>

namespace TavAM {

namespace {

using Triangles = std::vector<std::array<std::uint32_t, 3>>;

constexpr std::uint32_t LeafSize = 4;

bool Overlap(const BoundingBox& i_a, const BoundingBox& i_b)
{
    return i_a.min.x <= i_b.max.x && i_b.min.x <= i_a.max.x && i_a.min.y <= i_b.max.y && i_b.min.y <= i_a.max.y &&
           i_a.min.z <= i_b.max.z && i_b.min.z <= i_a.max.z;
}

bool IsInside(const BoundingBox& i_box, const Point3d& i_point)
{
    return i_point.x >= i_box.min.x && i_point.x <= i_box.max.x && i_point.y >= i_box.min.y &&
           i_point.y <= i_box.max.y && i_point.z >= i_box.min.z && i_point.z <= i_box.max.z;
}

// A direction that no flat of a drawn part is parallel to: rays then hit edges and corners only by rounding.
constexpr Point3d RayDirection{0.0731, 0.1237, 0.9896};

bool RayMeetsBox(const Point3d& i_origin, const BoundingBox& i_box)
{
    // All components of the direction are positive.
    const double enter =
        std::max({(i_box.min.x - i_origin.x) / RayDirection.x, (i_box.min.y - i_origin.y) / RayDirection.y,
                  (i_box.min.z - i_origin.z) / RayDirection.z, 0.0});
    const double leave =
        std::min({(i_box.max.x - i_origin.x) / RayDirection.x, (i_box.max.y - i_origin.y) / RayDirection.y,
                  (i_box.max.z - i_origin.z) / RayDirection.z});
    return enter <= leave + 1e-9;
}

/// +1 or -1 when the ray leaves or enters through the triangle, 0 when it misses.
int CrossRay(const Point3d& i_origin, const Triangle& i_triangle)
{
    const Point3d a = i_triangle.corners[0] - i_origin;
    const Point3d b = i_triangle.corners[1] - i_origin;
    const Point3d c = i_triangle.corners[2] - i_origin;
    // Each edge's side is computed in one way whichever triangle asks, so that neighbours never both miss or both
    // count.
    const auto side = [](const Point3d& i_from, const Point3d& i_to) {
        return Dot(RayDirection, Cross(i_from, i_to)) > 0;
    };
    const bool ab = side(a, b);
    if (ab != side(b, c) || ab != side(c, a))
        return 0;
    const Point3d normal =
        Cross(i_triangle.corners[1] - i_triangle.corners[0], i_triangle.corners[2] - i_triangle.corners[0]);
    const double slope = Dot(normal, RayDirection);
    if (slope == 0 || Dot(normal, a) / slope <= 0)
        return 0;
    return Dot(i_triangle.inward, RayDirection) < 0 ? 1 : -1;
}

double GetSignedVolume(const std::vector<Point3d>& i_vertices, const Triangles& i_triangles)
{
    double volume = 0;
    for (const auto& triangle : i_triangles) {
        const Point3d& origin = i_vertices.front();
        volume += Dot(i_vertices[triangle[0]] - origin,
                      Cross(i_vertices[triangle[1]] - origin, i_vertices[triangle[2]] - origin));
    }
    return volume;
}

BoundingBox GetBox(const Triangle& i_triangle)
{
    BoundingBox box;
    for (const Point3d& corner : i_triangle.corners)
        box.Add(corner);
    return box;
}

} // namespace

TriangleTree::TriangleTree(const std::vector<Point3d>& i_vertices, const Triangles& i_triangles, double i_inset)
{
    // A mesh may be turned inside out; the part is then still where its surface is.
    const double outward = GetSignedVolume(i_vertices, i_triangles) < 0 ? -1 : 1;
    _triangles.reserve(i_triangles.size());
    for (const auto& indices : i_triangles) {
        Triangle triangle{{i_vertices[indices[0]], i_vertices[indices[1]], i_vertices[indices[2]]}, {}};
        const Point3d normal =
            Cross(triangle.corners[1] - triangle.corners[0], triangle.corners[2] - triangle.corners[0]);
        const double length = std::sqrt(Dot(normal, normal));
        if (length < 1e-12)
            continue;
        triangle.inward = normal * (-outward / length);
        for (Point3d& corner : triangle.corners)
            corner = corner + triangle.inward * i_inset;
        _triangles.push_back(triangle);
    }
    if (!_triangles.empty())
        _Build(0, static_cast<std::uint32_t>(_triangles.size()));
}

void TriangleTree::_Build(std::uint32_t i_begin, std::uint32_t i_end)
{
    const std::size_t self = _nodes.size();
    _nodes.emplace_back();
    for (std::uint32_t index = i_begin; index < i_end; ++index)
        _nodes[self].box.Add(GetBox(_triangles[index]));
    if (i_end - i_begin <= LeafSize) {
        _nodes[self].begin = i_begin;
        _nodes[self].end = i_end;
        return;
    }
    const Point3d size = _nodes[self].box.max - _nodes[self].box.min;
    const auto coordinate = size.x >= size.y && size.x >= size.z ? &Point3d::x
                            : size.y >= size.z                   ? &Point3d::y
                                                                 : &Point3d::z;
    // Halves of equal count: the depth stays below 33 whatever the mesh.
    const std::uint32_t middle = i_begin + (i_end - i_begin) / 2;
    std::nth_element(_triangles.begin() + i_begin, _triangles.begin() + middle, _triangles.begin() + i_end,
                     [&](const Triangle& i_a, const Triangle& i_b) {
                         return i_a.corners[0].*coordinate + i_a.corners[1].*coordinate + i_a.corners[2].*coordinate <
                                i_b.corners[0].*coordinate + i_b.corners[1].*coordinate + i_b.corners[2].*coordinate;
                     });
    _Build(i_begin, middle);
    _nodes[self].right = static_cast<std::uint32_t>(_nodes.size());
    _Build(middle, i_end);
}

void TriangleTree::ForEachPair(const TriangleTree& i_other,
                               const std::function<bool(const Triangle&, const Triangle&)>& i_visit) const
{
    if (_nodes.empty() || i_other._nodes.empty())
        return;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> open{{0, 0}};
    while (!open.empty()) {
        const auto [left, right] = open.back();
        open.pop_back();
        const Node& a = _nodes[left];
        const Node& b = i_other._nodes[right];
        if (!Overlap(a.box, b.box))
            continue;
        const bool isLeafA = a.end != 0;
        const bool isLeafB = b.end != 0;
        if (isLeafA && isLeafB) {
            for (std::uint32_t i = a.begin; i < a.end; ++i) {
                for (std::uint32_t j = b.begin; j < b.end; ++j) {
                    if (Overlap(GetBox(_triangles[i]), GetBox(i_other._triangles[j])) &&
                        !i_visit(_triangles[i], i_other._triangles[j]))
                        return;
                }
            }
            continue;
        }
        const Point3d sizeA = a.box.max - a.box.min;
        const Point3d sizeB = b.box.max - b.box.min;
        if (!isLeafA && (isLeafB || Dot(sizeA, sizeA) >= Dot(sizeB, sizeB))) {
            open.emplace_back(left + 1, right);
            open.emplace_back(a.right, right);
        } else {
            open.emplace_back(left, right + 1);
            open.emplace_back(left, b.right);
        }
    }
}

int TriangleTree::GetWinding(const Point3d& i_point) const
{
    if (_nodes.empty() || !IsInside(_nodes.front().box, i_point))
        return 0;
    int winding = 0;
    std::vector<std::uint32_t> open{0};
    while (!open.empty()) {
        const std::uint32_t index = open.back();
        open.pop_back();
        const Node& node = _nodes[index];
        if (!RayMeetsBox(i_point, node.box))
            continue;
        if (node.end == 0) {
            open.push_back(index + 1);
            open.push_back(node.right);
            continue;
        }
        for (std::uint32_t triangle = node.begin; triangle < node.end; ++triangle)
            winding += CrossRay(i_point, _triangles[triangle]);
    }
    return winding;
}

} // namespace TavAM
