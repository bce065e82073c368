#include "buildprocessor/geometry/PlacementCheck.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/geometry/Footprint.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

namespace MachineService::BuildProcessor {

using ClipperLib::Path;
using ClipperLib::Paths;
using Kind = PlacementFault::Kind;

namespace {

std::string FormatMillimetres(double i_value)
{
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%.3f", i_value);
    std::string result(text, static_cast<std::size_t>(length));
    result.erase(result.find_last_not_of('0') + 1);
    // The point of whatever locale the process runs in.
    if (!result.empty() && (result.back() < '0' || result.back() > '9'))
        result.pop_back();
    return result + " mm";
}

/// How far the point is inside the bed; negative outside. Units: mm.
double GetDepth(const Bed& i_bed, double i_x, double i_y)
{
    if (i_bed.shape == BedShape::Circle)
        return i_bed.diameter / 2 - std::hypot(i_x - i_bed.centre.x, i_y - i_bed.centre.y);
    double depth = 1e9;
    for (std::size_t index = 0; index < i_bed.outline.size(); ++index) {
        const BedPoint& from = i_bed.outline[index];
        const BedPoint& to = i_bed.outline[(index + 1) % i_bed.outline.size()];
        const double cross = (to.x - from.x) * (i_y - from.y) - (to.y - from.y) * (i_x - from.x);
        depth = std::min(depth, cross / std::hypot(to.x - from.x, to.y - from.y));
    }
    return depth;
}

/// Depth of the corner that is nearest to the edge. The bed is convex: what the corners keep to, everything does.
double GetDepth(const TavAM::Part& i_part, const Bed& i_bed)
{
    double depth = 1e9;
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const TavAM::Transform& i_placement) {
            for (const auto& triangle : i_mesh.triangles) {
                for (const std::uint32_t vertex : triangle) {
                    const TavAM::Point3f& corner = i_mesh.vertices[vertex];
                    const TavAM::Point3d point = i_placement.Apply({corner.x, corner.y, corner.z});
                    depth = std::min(depth, GetDepth(i_bed, point.x, point.y));
                }
            }
        });
    return depth;
}

bool AreApart(const Paths& i_left, const Paths& i_right, double i_distance)
{
    // Both are grown by half of it: the smaller the step, the smaller the error of the rounded corners.
    constexpr double arcTolerance = 2;
    const auto grow = [&](const Paths& i_paths) {
        ClipperLib::ClipperOffset offset(2, arcTolerance);
        offset.AddPaths(i_paths, ClipperLib::jtRound, ClipperLib::etClosedPolygon);
        Paths grown;
        offset.Execute(grown, i_distance / 2 * PlanarUnitsPerMillimetre);
        return grown;
    };
    ClipperLib::Clipper clipper;
    clipper.AddPaths(grow(i_left), ClipperLib::ptSubject, true);
    clipper.AddPaths(grow(i_right), ClipperLib::ptClip, true);
    Paths common;
    clipper.Execute(ClipperLib::ctIntersection, common, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
    return common.empty();
}

class Checker
{
public:
    Checker(const TavAM::Platform& i_platform, const Bed& i_bed, double i_height, const PlacementRules& i_rules,
            const std::stop_token& i_stop)
        : _parts(i_platform.GetParts())
        , _bed(i_bed)
        , _height(i_height)
        , _rules(i_rules)
        , _stop(i_stop)
        , _items(_parts.size())
    {}

    std::vector<PlacementFault> Run()
    {
        for (std::size_t index = 0; index < _parts.size(); ++index) {
            ThrowIfStopped(_stop);
            _CheckAlone(index);
        }
        for (std::size_t index = 0; _rules.clearances && index < _parts.size(); ++index) {
            for (std::size_t other = index + 1; other < _parts.size(); ++other)
                _CheckPair(index, other);
        }
        return std::move(_faults);
    }

private:
    struct Item
    {
        TavAM::BoundingBox box;
        Path hull;
        std::optional<Paths> outline; ///< made when it is needed
    };

    std::string _Name(std::size_t i_index) const { return "'" + GetPartLabel(_parts[i_index], i_index) + "'"; }

    void _Add(Kind i_kind, std::size_t i_part, const std::string& i_rest)
    {
        _faults.push_back({i_kind, i_part, 0, "The part " + _Name(i_part) + ' ' + i_rest});
    }

    void _CheckAlone(std::size_t i_index)
    {
        Item& item = _items[i_index];
        item.box = _parts[i_index].GetBoundingBox();
        if (item.box.IsEmpty()) {
            _Add(Kind::WithoutMesh, i_index, "has no mesh to be checked.");
            return;
        }
        if (const double depth = GetDepth(_parts[i_index], _bed); depth < -_rules.tolerance)
            _Add(Kind::OutsideBed, i_index,
                 "leaves the bed by " + FormatMillimetres(-depth) + "; move, turn or scale it.");
        else if (depth < _partToWall - _rules.tolerance)
            _Add(Kind::OutsideBed, i_index,
                 "is only " + FormatMillimetres(std::max(depth, 0.0)) + " away from the edge of the bed; move it.");
        if (item.box.max.z > _height + _rules.tolerance)
            _Add(Kind::TooHigh, i_index,
                 "is " + FormatMillimetres(item.box.max.z - _height) +
                     " higher than the printer builds; turn or scale it.");
        if (item.box.min.z < -_rules.tolerance)
            _Add(Kind::BelowBed, i_index, "reaches " + FormatMillimetres(-item.box.min.z) + " below the bed; lift it.");
        else if (_rules.onBed && item.box.min.z > _rules.tolerance)
            _Add(Kind::AboveBed, i_index,
                 "floats " + FormatMillimetres(item.box.min.z) + " above the bed; lower it, or choose supports.");
        // Whoever is this far away was told above and meets nobody on the bed.
        const double reach = std::max(
            {std::abs(item.box.min.x), std::abs(item.box.max.x), std::abs(item.box.min.y), std::abs(item.box.max.y)});
        if (reach < MaxFootprintExtent)
            item.hull = MakeHullFootprint(_parts[i_index], {});
        for (const NoBuildZone& zone : _rules.zones) {
            if (!item.hull.empty() && _Enters(i_index, zone))
                _Add(Kind::InZone, i_index, "enters the no-build zone '" + TavSDK::ToUtf8(zone.name) + "'; move it.");
        }
    }

    bool _Enters(std::size_t i_index, const NoBuildZone& i_zone)
    {
        const auto& [min, max] = _items[i_index].box;
        if (min.x >= i_zone.maxX || max.x <= i_zone.minX || min.y >= i_zone.maxY || max.y <= i_zone.minY ||
            min.z >= i_zone.maxZ || max.z <= i_zone.minZ)
            return false;
        // Only what is near the part counts, and stays within the whole numbers.
        const auto planar = [](double i_value, double i_min, double i_max) {
            return std::llround(std::clamp(i_value, i_min - 10, i_max + 10) * PlanarUnitsPerMillimetre);
        };
        const auto minX = planar(i_zone.minX, min.x, max.x);
        const auto maxX = planar(i_zone.maxX, min.x, max.x);
        const auto minY = planar(i_zone.minY, min.y, max.y);
        const auto maxY = planar(i_zone.maxY, min.y, max.y);
        return !AreApart(_GetOutline(i_index), {{{minX, minY}, {maxX, minY}, {maxX, maxY}, {minX, maxY}}},
                         -_rules.tolerance);
    }

    void _CheckPair(std::size_t i_index, std::size_t i_other)
    {
        Item& item = _items[i_index];
        Item& other = _items[i_other];
        const double distance = _rules.clearances->partToPart - _rules.tolerance;
        const auto& [min, max] = item.box;
        if (item.hull.empty() || other.hull.empty() || min.x - other.box.max.x > distance ||
            other.box.min.x - max.x > distance || min.y - other.box.max.y > distance ||
            other.box.min.y - max.y > distance)
            return;
        ThrowIfStopped(_stop);
        if (AreApart({item.hull}, {other.hull}, distance) ||
            AreApart(_GetOutline(i_index), _GetOutline(i_other), distance))
            return;
        const std::string names = "The parts " + _Name(i_index) + " and " + _Name(i_other);
        const bool overlap = !AreApart(_GetOutline(i_index), _GetOutline(i_other), -_rules.tolerance);
        _faults.push_back(
            {Kind::TooClose, i_index, i_other,
             names + (overlap ? " overlap, seen from above."
                              : " are less than " + FormatMillimetres(_rules.clearances->partToPart) + " apart.")});
    }

    const Paths& _GetOutline(std::size_t i_index)
    {
        auto& outline = _items[i_index].outline;
        if (!outline)
            outline = MakeFootprint(_parts[i_index], {}, _stop);
        return *outline;
    }

    const std::vector<TavAM::Part>& _parts;
    const Bed& _bed;
    const double _height;
    const PlacementRules& _rules;
    const double _partToWall = _rules.clearances ? _rules.clearances->partToWall : 0;
    const std::stop_token& _stop;
    std::vector<Item> _items;
    std::vector<PlacementFault> _faults;
};

} // namespace

std::vector<PlacementFault> FindPlacementFaults(const TavAM::Platform& i_platform, const Bed& i_bed, double i_height,
                                                const PlacementRules& i_rules, const std::stop_token& i_stop)
{
    return Checker(i_platform, i_bed, i_height, i_rules, i_stop).Run();
}

} // namespace MachineService::BuildProcessor
