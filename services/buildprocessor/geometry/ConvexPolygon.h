#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <clipper.hpp>

#include <cstddef>
#include <vector>

namespace MachineService::BuildProcessor {

// Polygons in the plane of the bed are whole numbers of 0.1 µm, so that the clipping library works exactly.
inline constexpr double PlanarUnitsPerMillimetre = 10'000;

struct PlanarPoint
{
    double x = 0;
    double y = 0;
};

/// Counter-clockwise, without points on straight edges; fewer than three points when i_points lie on a line.
ClipperLib::Path MakeConvexHull(ClipperLib::Path i_points);

/// A convex polygon around i_polygon with at most i_max_count corners, as close to it as dropping edges one by one
/// gives. \param i_max_count 4 or more.
ClipperLib::Path SimplifyOutwards(const ClipperLib::Path& i_polygon, std::size_t i_max_count);

/// All sums of a point of the one and a point of the other. Both convex, counter-clockwise, with three corners or more.
ClipperLib::Path AddConvex(const ClipperLib::Path& i_left, const ClipperLib::Path& i_right);

ClipperLib::Path Mirror(const ClipperLib::Path& i_polygon);
ClipperLib::Path Move(const ClipperLib::Path& i_polygon, const ClipperLib::IntPoint& i_by);

/// Cosine and sine; exact for quarter turns. \param i_angle degrees.
PlanarPoint GetDirection(double i_angle);
/// Counter-clockwise about the origin. \param i_angle degrees.
ClipperLib::Path Rotate(const ClipperLib::Path& i_hull, double i_angle);

/// Regular polygon around a circle about the origin; edges touch it where it meets the axes.
/// Units: planar.
ClipperLib::Path MakeDisc(double i_radius);

/// Where the origin of i_hull may lie so that all of it is on the bed and i_clearance away from its edge. Convex; empty
/// when there is no such place. Widened by less than 2 µm, so that what fits exactly is not lost to rounding.
/// \param i_clearance mm.
ClipperLib::Path MakeInnerRegion(const Bed& i_bed, double i_clearance, const ClipperLib::Path& i_hull);

/// Centre of the bed.
/// Units: mm.
PlanarPoint GetBedCentre(const Bed& i_bed);

} // namespace MachineService::BuildProcessor
