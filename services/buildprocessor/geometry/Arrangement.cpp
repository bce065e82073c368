#include "buildprocessor/geometry/Arrangement.h"

#include "tavam/Geometry.h"

#include <algorithm>
#include <cmath>

namespace MachineService::BuildProcessor {

using ClipperLib::IntPoint;
using ClipperLib::Path;
using ClipperLib::Paths;

namespace {

constexpr std::size_t MaxCorners = 32; ///< of hulls among one another
constexpr double RoundingSlack = 10;   ///< planar units that two parts may be closer, so that exact fits are found
constexpr double UsualStep = 15;       ///< degrees between two turns that are tried

/// Turns by multiples of the step: of all of them those next to the usual ones.
void MakeTurns(const PlacementOptions& i_options, std::vector<double>& o_quarters, std::vector<double>& o_others)
{
    constexpr double finest = 1e-3;
    o_quarters = {0};
    if (i_options.turns == RotationFreedom::None)
        return;
    const double step = i_options.turnStep < finest ? UsualStep : i_options.turnStep;
    for (double wanted = UsualStep; wanted < 360; wanted += UsualStep) {
        const double angle = step * std::round(wanted / step);
        const bool isQuarter = std::abs(std::remainder(angle, 90)) < 1e-6;
        auto& turns = isQuarter ? o_quarters : o_others;
        if (angle > 0 && angle < 360 - 1e-6 && (turns.empty() || turns.back() < angle))
            turns.push_back(isQuarter ? std::round(angle) : angle);
    }
}

Path MakeRectangle(double i_min_x, double i_min_y, double i_max_x, double i_max_y)
{
    const auto planar = [](double i_value) {
        return static_cast<ClipperLib::cInt>(std::llround(i_value * PlanarUnitsPerMillimetre));
    };
    return {{planar(i_min_x), planar(i_min_y)},
            {planar(i_max_x), planar(i_min_y)},
            {planar(i_max_x), planar(i_max_y)},
            {planar(i_min_x), planar(i_max_y)}};
}

IntPoint FindFrontLeft(const Paths& i_free)
{
    IntPoint best = i_free.front().front();
    for (const Path& path : i_free) {
        for (const IntPoint& point : path) {
            if (point.Y != best.Y ? point.Y < best.Y : point.X < best.X)
                best = point;
        }
    }
    return best;
}

} // namespace

Arrangement::Arrangement(const Bed& i_bed, const PlacementOptions& i_options, double i_clearance, Aim i_aim)
    : _bed(i_bed)
    , _options(i_options)
    , _aim(i_aim)
    , _disc(MakeDisc(i_clearance * PlanarUnitsPerMillimetre - RoundingSlack))
{
    const PlanarPoint centre = GetBedCentre(i_bed);
    _centre =
        IntPoint(std::llround(centre.x * PlanarUnitsPerMillimetre), std::llround(centre.y * PlanarUnitsPerMillimetre));
    MakeTurns(i_options, _quarterTurns, _otherTurns);

    TavAM::BoundingBox bed;
    for (const BedPoint& point : i_bed.outline)
        bed.Add(TavAM::Point3d{point.x, point.y, 0});
    // A circle reaches beyond the sides of its outline.
    constexpr double around = 10;
    constexpr double slack = RoundingSlack / 2 / PlanarUnitsPerMillimetre;
    for (const NoBuildZone& zone : i_options.zones) {
        const double minX = std::max(zone.minX + slack, bed.min.x - around);
        const double minY = std::max(zone.minY + slack, bed.min.y - around);
        const double maxX = std::min(zone.maxX - slack, bed.max.x + around);
        const double maxY = std::min(zone.maxY - slack, bed.max.y + around);
        if (zone.maxZ > 0 && minX < maxX && minY < maxY)
            _zones.push_back({zone.minZ, MakeRectangle(minX, minY, maxX, maxY)});
    }
    std::stable_sort(_zones.begin(), _zones.end(),
                     [](const Zone& i_left, const Zone& i_right) { return i_left.minZ < i_right.minZ; });
}

std::optional<Place> Arrangement::Add(const Path& i_hull, double i_height)
{
    std::optional<Place> best;
    double bestCost = 0;
    bool fitsAlone = false;
    const auto consider = [&](double i_angle) {
        const Path hull = Rotate(i_hull, i_angle);
        const FreeRegion& free = _GetFreeRegion(hull, i_height);
        fitsAlone = fitsAlone || free.fitsAlone;
        if (free.paths.empty())
            return;
        const IntPoint at = _aim == Aim::Centre ? _FindNearest(free.paths) : FindFrontLeft(free.paths);
        const double cost = _GetCost(at, hull);
        if (!best || cost < bestCost) {
            best = Place{i_angle, at};
            bestCost = cost;
        }
    };
    for (const double angle : _quarterTurns) {
        consider(angle);
        if (best && _aim == Aim::Centre)
            break;
    }
    // Other turns only for what needs them on an empty bed, too: for every part that is left over they would take
    // longer than they are worth.
    for (std::size_t index = 0; index < _otherTurns.size() && !best && !fitsAlone; ++index)
        consider(_otherTurns[index]);
    if (best) {
        const Path hull = SimplifyOutwards(Rotate(i_hull, best->angle), MaxCorners);
        _taken.push_back(AddConvex(Move(hull, best->at), _disc));
    }
    return best;
}

bool Arrangement::ShapeOrder::operator()(const Shape& i_left, const Shape& i_right) const
{
    if (i_left.first != i_right.first)
        return i_left.first < i_right.first;
    return std::lexicographical_compare(
        i_left.second.begin(), i_left.second.end(), i_right.second.begin(), i_right.second.end(),
        [](const IntPoint& i_a, const IntPoint& i_b) { return i_a.X != i_b.X ? i_a.X < i_b.X : i_a.Y < i_b.Y; });
}

Arrangement::FreeRegion& Arrangement::_GetFreeRegion(const Path& i_hull, double i_height)
{
    const auto isAbove = [&](const Zone& i_zone) {
        return i_zone.minZ >= i_height;
    };
    const auto zonesEnd = std::find_if(_zones.begin(), _zones.end(), isAbove);
    const auto [entry, isNew] = _regions.try_emplace({static_cast<std::size_t>(zonesEnd - _zones.begin()), i_hull});
    FreeRegion& free = entry->second;
    const auto takeOut = [&free](const std::vector<Path>& i_outlines, std::size_t i_begin) {
        if (i_begin == i_outlines.size() || free.paths.empty())
            return;
        ClipperLib::Clipper clipper;
        clipper.AddPaths(free.paths, ClipperLib::ptSubject, true);
        for (std::size_t index = i_begin; index < i_outlines.size(); ++index)
            clipper.AddPath(AddConvex(i_outlines[index], free.mirrored), ClipperLib::ptClip, true);
        Paths left;
        clipper.Execute(ClipperLib::ctDifference, left, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
        free.paths = std::move(left);
    };
    if (isNew) {
        if (Path inner = MakeInnerRegion(_bed, _options.clearances.partToWall, i_hull); !inner.empty())
            free.paths = {std::move(inner)};
        free.mirrored = Mirror(SimplifyOutwards(i_hull, MaxCorners));
        std::vector<Path> outlines;
        for (auto zone = _zones.begin(); zone != zonesEnd; ++zone)
            outlines.push_back(zone->outline);
        takeOut(outlines, 0);
        free.fitsAlone = !free.paths.empty();
    }
    takeOut(_taken, free.known);
    free.known = _taken.size();
    return free;
}

double Arrangement::_GetSquare(const IntPoint& i_point) const
{
    const auto x = static_cast<double>(i_point.X - _centre.X);
    const auto y = static_cast<double>(i_point.Y - _centre.Y);
    return x * x + y * y;
}

IntPoint Arrangement::_FindNearest(const Paths& i_free) const
{
    int around = 0;
    IntPoint best;
    double bestSquare = -1;
    for (const Path& path : i_free) {
        // Holes are paths of their own: inside an outer one and a hole is outside.
        const int inside = ClipperLib::PointInPolygon(_centre, path);
        if (inside < 0)
            return _centre;
        around += inside;
        for (std::size_t index = 0; index < path.size(); ++index) {
            const IntPoint& from = path[index];
            const IntPoint& to = path[(index + 1) % path.size()];
            const auto dx = static_cast<double>(to.X - from.X);
            const auto dy = static_cast<double>(to.Y - from.Y);
            const double along =
                static_cast<double>(_centre.X - from.X) * dx + static_cast<double>(_centre.Y - from.Y) * dy;
            const double share = std::clamp(along / std::max(dx * dx + dy * dy, 1.0), 0.0, 1.0);
            const IntPoint point(from.X + std::llround(share * dx), from.Y + std::llround(share * dy));
            const double square = _GetSquare(point);
            if (bestSquare < 0 || square < bestSquare) {
                best = point;
                bestSquare = square;
            }
        }
    }
    return around % 2 == 1 ? _centre : best;
}

double Arrangement::_GetCost(const IntPoint& i_at, const Path& i_hull) const
{
    if (_aim == Aim::Centre)
        return 0;
    ClipperLib::cInt back = i_hull.front().Y;
    for (const IntPoint& point : i_hull)
        back = std::max(back, point.Y);
    // The left edge decides among places that need the same depth of the bed.
    return static_cast<double>(i_at.Y + back) + 1e-6 * static_cast<double>(i_at.X);
}

} // namespace MachineService::BuildProcessor
