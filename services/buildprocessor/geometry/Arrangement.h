#pragma once

#include "buildprocessor/geometry/AutomaticPlacement.h"
#include "buildprocessor/geometry/ConvexPolygon.h"

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace MachineService::BuildProcessor {

/// Where a hull goes.
struct Place
{
    double angle = 0; ///< degrees, before it is moved
    ClipperLib::IntPoint at;
};

enum class Aim
{
    Centre,  ///< as near to the middle of the bed as there is room; turned only where there is none
    Compact, ///< as far to the front and then to the left, in the quarter turn that needs least
};

/// The bed while one arrangement of convex hulls grows on it.
/// Ownership: bed and options are not owned and must outlive it.
class Arrangement
{
public:
    /// \param i_clearance mm, between two hulls.
    Arrangement(const Bed& i_bed, const PlacementOptions& i_options, double i_clearance, Aim i_aim);

    /// Takes the best free place for the hull; empty when there is none.
    /// \param i_hull planar units, about the point that it turns around.
    /// \param i_height of the part, mm: it passes under the zones that begin above it.
    std::optional<Place> Add(const ClipperLib::Path& i_hull, double i_height);

private:
    using Path = ClipperLib::Path;
    using Paths = ClipperLib::Paths;
    using IntPoint = ClipperLib::IntPoint;

    /// Where the middle of hulls of one shape may lie.
    struct FreeRegion
    {
        Paths paths;
        bool fitsAlone = false;
        Path mirrored;         ///< the simplified hull, see _taken
        std::size_t known = 0; ///< so many of _taken are taken out of it
    };
    struct Zone
    {
        double minZ;
        Path outline;
    };
    /// A hull, and so many of _zones are in its way.
    using Shape = std::pair<std::size_t, Path>;
    struct ShapeOrder
    {
        bool operator()(const Shape& i_left, const Shape& i_right) const;
    };

    FreeRegion& _GetFreeRegion(const Path& i_hull, double i_height);
    IntPoint _FindNearest(const Paths& i_free) const;
    double _GetCost(const IntPoint& i_at, const Path& i_hull) const;
    double _GetSquare(const IntPoint& i_point) const;

    const Bed& _bed;
    const PlacementOptions& _options;
    const Aim _aim;
    const Path _disc;
    IntPoint _centre;
    std::vector<double> _quarterTurns; ///< degrees
    std::vector<double> _otherTurns;   ///< degrees
    std::vector<Zone> _zones;          ///< those over the bed, lowest first
    std::vector<Path> _taken;          ///< simplified hulls of the placed parts, grown by the clearance
    std::map<Shape, FreeRegion, ShapeOrder> _regions;
};

} // namespace MachineService::BuildProcessor
