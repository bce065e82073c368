#include "buildprocessor/geometry/CollisionCheck.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/NameList.h"
#include "contract/Failure.h"
#include "tavam/Collision.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

using TavAM::CollisionInset;
using TavAM::TriangleTree;

TriangleTree MakeTree(const PartGeometry& i_part)
{
    return {i_part.vertices, i_part.triangles, CollisionInset};
}

bool Collide(const TriangleTree& i_a, const TriangleTree& i_b, const std::stop_token& i_stop)
{
    const TavAM::Collision collision = TavAM::FindCollision(i_a, i_b, i_stop);
    ThrowIfStopped(i_stop);
    if (collision == TavAM::Collision::TooFine) {
        Fail(ErrorCode::FileError,
             "The parts are too finely meshed to be checked for collisions: keep them further apart.");
    }
    return collision == TavAM::Collision::Found;
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
            trees[i_index] = std::make_unique<TriangleTree>(MakeTree(i_parts[i_index]));
        return *trees[i_index];
    };
    std::vector<bool> collides(i_parts.size());
    for (std::size_t left = 0; left < order.size(); ++left) {
        const auto a = order[left];
        for (std::size_t right = left + 1;
             right < order.size() && i_parts[order[right]].box.min.x < i_parts[a].box.max.x; ++right) {
            const auto b = order[right];
            ThrowIfStopped(i_stop);
            if ((collides[a] && collides[b]) || !TavAM::MayCollide(i_parts[a].box, i_parts[b].box))
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
            if (!TavAM::MayCollide(part.box, i_bodies[index].box))
                continue;
            if (!tree)
                tree.emplace(MakeTree(part));
            if (Collide(*tree, MakeTree(i_bodies[index]), i_stop))
                names[index].push_back(part.name);
        }
    }
    return names;
}

} // namespace MachineService::BuildProcessor
