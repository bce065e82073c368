#pragma once

#include "workbench/plate/PlateBed.h"

#include "tavam/Geometry.h"

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <vector>

namespace VexlorCore {
class DataSet;
}

/// What a user does to parts on the plate: each call is one step that can be undone, through the application's
/// operation manager. Parts that the scene does not have are left out; a call that would change nothing makes no step.
///
/// Units: mm, degrees.
/// Thread: UI thread.
/// \return whether there is a new step.
namespace Workbench::PartEdits {

using PartIds = std::vector<boost::uuids::uuid>;

/// A factor beyond these, or one that makes a part larger than any file may hold, is refused.
inline constexpr double SmallestScale = 0.001;
inline constexpr double LargestScale = 1000;

/// Of the parts that have a mesh, as they stand; empty when there are none.
TavAM::BoundingBox GetBox(const VexlorCore::DataSet& i_scene, const PartIds& i_parts);

bool Move(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const TavAM::Point3d& i_by);
/// Counter-clockwise, seen from above, about the middle of their common box.
bool RotateAboutZ(VexlorCore::DataSet& io_scene, const PartIds& i_parts, double i_degrees);
/// About the middle of the underside of their common box, so that what stands keeps standing.
bool Scale(VexlorCore::DataSet& io_scene, const PartIds& i_parts, double i_factor);
/// Any other change of place, done after the present placement.
bool Apply(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const TavAM::Transform& i_change);
/// Each part by itself, down or up, until it stands on the plate.
bool DropToPlate(VexlorCore::DataSet& io_scene, const PartIds& i_parts);
/// Side by side on the bed, the largest nearest to its middle; the scene's other parts and the bed's zones keep their
/// place. What finds no room comes to lie beside the bed.
bool Arrange(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const PlateBed& i_bed);
/// The copies stand beside what they are copies of, where there is room on the bed, and become the selection.
/// \param i_bed empty: room counts everywhere.
bool Duplicate(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const std::optional<TavAM::BoundingBox>& i_bed);
bool Delete(VexlorCore::DataSet& io_scene, const PartIds& i_parts);

/// The changes that the functions above make, for who shows them before they are made.
TavAM::Transform MakeRotation(double i_degrees, const TavAM::BoundingBox& i_box);
TavAM::Transform MakeScale(double i_factor, const TavAM::BoundingBox& i_box);

} // namespace Workbench::PartEdits
