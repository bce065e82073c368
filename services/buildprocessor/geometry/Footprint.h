#pragma once

#include "buildprocessor/geometry/ConvexPolygon.h"
#include "tavam/Part.h"

#include <clipper.hpp>

#include <stop_token>

namespace MachineService::BuildProcessor {

/// Widest part that footprints are made of; beyond every bed, and within the whole numbers of the clipping library.
inline constexpr double MaxFootprintExtent = 10'000; ///< mm

/// The convex hull of what a part covers of the bed, as it is placed. Planar units, relative to i_origin (mm).
/// A part without area (a sheet that stands upright) gets a hull of less than 2 µm. Empty when there is no triangle.
/// The part must not be wider than MaxFootprintExtent, nor lie farther from the origin.
ClipperLib::Path MakeHullFootprint(const TavAM::Part& i_part, const PlanarPoint& i_origin);

/// What a part really covers of the bed: the union of its projected triangles, holes that are open from above included.
/// Outer boundaries run counter-clockwise, holes clockwise. Gaps below 0.01 mm² count as covered. For more than a
/// million triangles it is the convex hull, which covers more. As above otherwise.
/// \throws CommunicationException ProcessingAborted when the token asks.
ClipperLib::Paths MakeFootprint(const TavAM::Part& i_part, const PlanarPoint& i_origin, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
