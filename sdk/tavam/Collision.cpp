#include "tavam/Collision.h"

#include <cstddef>

namespace TavAM {

namespace {

// Two fine meshes whose surfaces run close to each other; far above what parts on a plate need.
constexpr std::size_t MaxPairTests = 200'000'000;

/// Does the edge go through the triangle, not merely reach it?
bool Pierces(const Point3d& i_from, const Point3d& i_to, const Triangle& i_triangle)
{
    constexpr double epsilon = 1e-9;
    const auto& [a, b, c] = i_triangle.corners;
    const double from = Dot(i_triangle.inward, i_from - a);
    const double to = Dot(i_triangle.inward, i_to - a);
    if ((from > -epsilon && to > -epsilon) || (from < epsilon && to < epsilon))
        return false;
    const Point3d point = i_from + (i_to - i_from) * (from / (from - to));
    const double ab = Dot(i_triangle.inward, Cross(b - a, point - a));
    const double bc = Dot(i_triangle.inward, Cross(c - b, point - b));
    const double ca = Dot(i_triangle.inward, Cross(a - c, point - c));
    return (ab > epsilon && bc > epsilon && ca > epsilon) || (ab < -epsilon && bc < -epsilon && ca < -epsilon);
}

bool SurfacesCross(const Triangle& i_a, const Triangle& i_b)
{
    for (std::size_t index = 0; index < 3; ++index) {
        const std::size_t next = (index + 1) % 3;
        if (Pierces(i_a.corners[index], i_a.corners[next], i_b) || Pierces(i_b.corners[index], i_b.corners[next], i_a))
            return true;
    }
    return false;
}

/// A point just inside the part, under the middle of each triangle, that lies in the other part. It finds what crossing
/// edges do not: parts in the same place, and one inside the other.
Collision FindInside(const TriangleTree& i_inner, const TriangleTree& i_outer, const std::stop_token& i_stop)
{
    for (const Triangle& triangle : i_inner.GetTriangles()) {
        if (i_stop.stop_requested())
            return Collision::Stopped;
        const Point3d middle = (triangle.corners[0] + triangle.corners[1] + triangle.corners[2]) * (1.0 / 3);
        if (i_outer.GetWinding(middle + triangle.inward * CollisionInset) != 0)
            return Collision::Found;
    }
    return Collision::None;
}

Collision FindCrossing(const TriangleTree& i_a, const TriangleTree& i_b, const std::stop_token& i_stop)
{
    Collision result = Collision::None;
    std::size_t tests = 0;
    i_a.ForEachPair(i_b, [&](const Triangle& i_left, const Triangle& i_right) {
        if (++tests % 4096 == 0 && i_stop.stop_requested())
            result = Collision::Stopped;
        else if (tests > MaxPairTests)
            result = Collision::TooFine;
        else if (SurfacesCross(i_left, i_right))
            result = Collision::Found;
        return result == Collision::None;
    });
    return result;
}

} // namespace

bool MayCollide(const BoundingBox& i_a, const BoundingBox& i_b)
{
    constexpr double gap = 2 * CollisionInset;
    return i_a.min.x < i_b.max.x - gap && i_b.min.x < i_a.max.x - gap && i_a.min.y < i_b.max.y - gap &&
           i_b.min.y < i_a.max.y - gap && i_a.min.z < i_b.max.z - gap && i_b.min.z < i_a.max.z - gap;
}

Collision FindCollision(const TriangleTree& i_a, const TriangleTree& i_b, const std::stop_token& i_stop)
{
    Collision result = FindCrossing(i_a, i_b, i_stop);
    if (result == Collision::None)
        result = FindInside(i_a, i_b, i_stop);
    if (result == Collision::None)
        result = FindInside(i_b, i_a, i_stop);
    return result;
}

} // namespace TavAM
