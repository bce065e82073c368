#include "buildprocessor/geometry/CollisionCheck.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/NameList.h"
#include "buildprocessor/geometry/TriangleTree.h"
#include "contract/Failure.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

using TavAM::Point3d;

// Each part gives way by half of what two parts may overlap.
constexpr double Inset = 0.005;
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
bool LiesIn(const TriangleTree& i_inner, const TriangleTree& i_outer, std::stop_token i_stop)
{
    for (const Triangle& triangle : i_inner.GetTriangles()) {
        ThrowIfStopped(i_stop);
        const Point3d middle = (triangle.corners[0] + triangle.corners[1] + triangle.corners[2]) * (1.0 / 3);
        if (i_outer.GetWinding(middle + triangle.inward * Inset) != 0)
            return true;
    }
    return false;
}

bool Collide(const TriangleTree& i_a, const TriangleTree& i_b, std::stop_token i_stop)
{
    bool crossing = false;
    std::size_t tests = 0;
    i_a.ForEachPair(i_b, [&](const Triangle& i_left, const Triangle& i_right) {
        if (++tests % 4096 == 0)
            ThrowIfStopped(i_stop);
        if (tests > MaxPairTests)
            Fail(ErrorCode::FileError,
                 "The parts are too finely meshed to be checked for collisions: keep them further apart.");
        crossing = SurfacesCross(i_left, i_right);
        return !crossing;
    });
    return crossing || LiesIn(i_a, i_b, i_stop) || LiesIn(i_b, i_a, i_stop);
}

bool BoxesOverlap(const TavAM::BoundingBox& i_a, const TavAM::BoundingBox& i_b)
{
    constexpr double gap = 2 * Inset;
    return i_a.min.x < i_b.max.x - gap && i_b.min.x < i_a.max.x - gap && i_a.min.y < i_b.max.y - gap &&
           i_b.min.y < i_a.max.y - gap && i_a.min.z < i_b.max.z - gap && i_b.min.z < i_a.max.z - gap;
}

} // namespace

void CheckCollisions(const std::vector<PartGeometry>& i_parts, std::stop_token i_stop)
{
    // In ascending order along x only neighbours need comparing.
    std::vector<std::size_t> order(i_parts.size());
    for (std::size_t index = 0; index < order.size(); ++index)
        order[index] = index;
    std::sort(order.begin(), order.end(),
              [&](std::size_t i_a, std::size_t i_b) { return i_parts[i_a].box.min.x < i_parts[i_b].box.min.x; });

    std::vector<std::unique_ptr<TriangleTree>> trees(i_parts.size());
    const auto tree = [&](std::size_t i_index) -> const TriangleTree& {
        if (!trees[i_index])
            trees[i_index] = std::make_unique<TriangleTree>(i_parts[i_index], Inset);
        return *trees[i_index];
    };
    std::vector<bool> collides(i_parts.size());
    for (std::size_t left = 0; left < order.size(); ++left) {
        const auto a = order[left];
        for (std::size_t right = left + 1;
             right < order.size() && i_parts[order[right]].box.min.x < i_parts[a].box.max.x; ++right) {
            const auto b = order[right];
            ThrowIfStopped(i_stop);
            if ((collides[a] && collides[b]) || !BoxesOverlap(i_parts[a].box, i_parts[b].box))
                continue;
            if (Collide(tree(a), tree(b), i_stop))
                collides[a] = collides[b] = true;
        }
    }
    std::vector<std::string> names;
    for (std::size_t index = 0; index < i_parts.size(); ++index) {
        if (collides[index])
            names.push_back(i_parts[index].name);
    }
    if (!names.empty())
        Fail(ErrorCode::FileError, "These parts are in one another's way: " + JoinNames(names) + ". Move them apart.");
}

std::vector<std::vector<std::string>> FindCollidingParts(const std::vector<PartGeometry>& i_parts,
                                                         const std::vector<PartGeometry>& i_bodies,
                                                         const std::stop_token& i_stop)
{
    std::vector<std::vector<std::string>> names(i_bodies.size());
    for (const PartGeometry& part : i_parts) {
        std::optional<TriangleTree> tree;
        for (std::size_t index = 0; index < i_bodies.size(); ++index) {
            ThrowIfStopped(i_stop);
            if (!BoxesOverlap(part.box, i_bodies[index].box))
                continue;
            if (!tree)
                tree.emplace(part, Inset);
            if (Collide(*tree, TriangleTree(i_bodies[index], Inset), i_stop))
                names[index].push_back(part.name);
        }
    }
    return names;
}

} // namespace MachineService::BuildProcessor
