#pragma once

#include "tavam/Geometry.h"
#include "tavam/TriangleTree.h"
#include "tavam_export.h"

#include <stop_token>

/// Whether two parts are in each other's way, as machines refuse them: do their surfaces cross, or does one lie inside
/// the other? Parts may touch; what overlaps by less than 0.01 mm counts as touching. A part may stand in a hollow of
/// another.
namespace TavAM {

/// Each part gives way by half of what two parts may overlap: the inset of the trees that are compared. Units: mm.
inline constexpr double CollisionInset = 0.005;

enum class Collision
{
    None,
    Found,
    TooFine, ///< two fine meshes run so close to each other that the comparison was given up
    Stopped,
};

/// False for parts that lie apart by their boxes already.
TAVAM_EXPORT bool MayCollide(const BoundingBox& i_a, const BoundingBox& i_b);
/// Thread: any. \param i_a, i_b made with CollisionInset.
TAVAM_EXPORT Collision FindCollision(const TriangleTree& i_a, const TriangleTree& i_b, const std::stop_token& i_stop);

} // namespace TavAM
