#include "buildprocessor/AutomaticPlacement.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/Footprint.h"
#include "buildprocessor/PlacementCheck.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <numeric>
#include <optional>

namespace MachineService::BuildProcessor {

using ClipperLib::IntPoint;
using ClipperLib::Path;
using ClipperLib::Paths;

namespace {

constexpr std::size_t MaxParts = 500;
constexpr std::size_t MaxPartsForRetries = 150; ///< beyond it one arrangement is tried, so that the time stays bounded
constexpr std::size_t MaxCorners = 32;          ///< of hulls among one another
constexpr double RoundingSlack = 10; ///< planar units that two parts may be closer, so that exact fits are found
constexpr int RotationStep = 15;     ///< degrees

struct PathOrder
{
    bool operator()(const Path& i_left, const Path& i_right) const
    {
        return std::lexicographical_compare(
            i_left.begin(), i_left.end(), i_right.begin(), i_right.end(),
            [](const IntPoint& i_a, const IntPoint& i_b) { return i_a.X != i_b.X ? i_a.X < i_b.X : i_a.Y < i_b.Y; });
    }
};

/// A part and where it turns: around the middle of its box.
struct Item
{
    std::size_t part = 0; ///< index
    TavAM::BoundingBox box;
    PlanarPoint middle; ///< mm
    Path hull;          ///< relative to the middle, as it stands; empty when the part is beyond every bed
    double area = 0;
    double extent = 0;
};

struct Place
{
    int angle = 0; ///< degrees
    IntPoint at;   ///< of the item's middle
};

enum class Aim
{
    Centre,  ///< as near to the middle of the bed as there is room; turned only where there is none
    Compact, ///< as far to the front and then to the left, in the quarter turn that needs least
};

struct Strategy
{
    Aim aim;
    double Item::*key; ///< large ones first
};

constexpr Strategy Strategies[] = {{Aim::Centre, &Item::area},
                                   {Aim::Compact, &Item::area},
                                   {Aim::Compact, &Item::extent},
                                   {Aim::Centre, &Item::extent}};

Path Rotate(const Path& i_hull, int i_angle)
{
    double cosine = std::cos(i_angle * std::numbers::pi / 180);
    double sine = std::sin(i_angle * std::numbers::pi / 180);
    if (i_angle % 90 == 0) {
        cosine = std::round(cosine);
        sine = std::round(sine);
    }
    Path rotated;
    for (const IntPoint& point : i_hull) {
        const auto x = static_cast<double>(point.X);
        const auto y = static_cast<double>(point.Y);
        rotated.emplace_back(std::llround(cosine * x - sine * y), std::llround(sine * x + cosine * y));
    }
    return MakeConvexHull(std::move(rotated));
}

/// The bed while one arrangement grows on it.
class Arrangement
{
public:
    Arrangement(const Bed& i_bed, double i_clearance, Aim i_aim)
        : _bed(i_bed)
        , _clearance(i_clearance)
        , _aim(i_aim)
        , _disc(MakeDisc(i_clearance * PlanarUnitsPerMillimetre - RoundingSlack))
    {
        const PlanarPoint centre = GetBedCentre(i_bed);
        _centre = IntPoint(std::llround(centre.x * PlanarUnitsPerMillimetre),
                           std::llround(centre.y * PlanarUnitsPerMillimetre));
    }

    /// Takes the best free place for the hull; empty when there is none.
    std::optional<Place> Add(const Path& i_hull)
    {
        std::optional<Place> best;
        double bestCost = 0;
        bool fitsAlone = false;
        const auto consider = [&](int i_angle) {
            const Path hull = Rotate(i_hull, i_angle);
            const FreeRegion& free = _GetFreeRegion(hull);
            fitsAlone = fitsAlone || free.fitsAlone;
            if (free.paths.empty())
                return;
            const IntPoint at = _aim == Aim::Centre ? _FindNearest(free.paths) : _FindFrontLeft(free.paths);
            const double cost = _GetCost(at, hull);
            if (!best || cost < bestCost) {
                best = Place{i_angle, at};
                bestCost = cost;
            }
        };
        for (int angle = 0; angle < 360 && !(best && _aim == Aim::Centre); angle += 90)
            consider(angle);
        // Other turns only for what needs them on an empty bed, too: for every part that is left over they would take
        // longer than they are worth.
        for (int angle = RotationStep; angle < 360 && !best && !fitsAlone; angle += RotationStep) {
            if (angle % 90 != 0)
                consider(angle);
        }
        if (best) {
            const Path hull = SimplifyOutwards(Rotate(i_hull, best->angle), MaxCorners);
            _taken.push_back(AddConvex(Move(hull, best->at), _disc));
        }
        return best;
    }

private:
    /// Where the middle of hulls of one shape may lie.
    struct FreeRegion
    {
        Paths paths;
        bool fitsAlone = false;
        Path mirrored;         ///< the simplified hull, see _taken
        std::size_t known = 0; ///< so many of _taken are taken out of it
    };

    FreeRegion& _GetFreeRegion(const Path& i_hull)
    {
        const auto [entry, isNew] = _regions.try_emplace(i_hull);
        FreeRegion& free = entry->second;
        if (isNew) {
            if (Path inner = MakeInnerRegion(_bed, _clearance, i_hull); !inner.empty())
                free.paths = {std::move(inner)};
            free.fitsAlone = !free.paths.empty();
            free.mirrored = Mirror(SimplifyOutwards(i_hull, MaxCorners));
        }
        if (free.known < _taken.size() && !free.paths.empty()) {
            ClipperLib::Clipper clipper;
            clipper.AddPaths(free.paths, ClipperLib::ptSubject, true);
            for (std::size_t index = free.known; index < _taken.size(); ++index)
                clipper.AddPath(AddConvex(_taken[index], free.mirrored), ClipperLib::ptClip, true);
            Paths left;
            clipper.Execute(ClipperLib::ctDifference, left, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
            free.paths = std::move(left);
        }
        free.known = _taken.size();
        return free;
    }

    double _GetSquare(const IntPoint& i_point) const
    {
        const auto x = static_cast<double>(i_point.X - _centre.X);
        const auto y = static_cast<double>(i_point.Y - _centre.Y);
        return x * x + y * y;
    }

    IntPoint _FindNearest(const Paths& i_free) const
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

    static IntPoint _FindFrontLeft(const Paths& i_free)
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

    double _GetCost(const IntPoint& i_at, const Path& i_hull) const
    {
        if (_aim == Aim::Centre)
            return 0;
        ClipperLib::cInt back = i_hull.front().Y;
        for (const IntPoint& point : i_hull)
            back = std::max(back, point.Y);
        // The left edge decides among places that need the same depth of the bed.
        return static_cast<double>(i_at.Y + back) + 1e-6 * static_cast<double>(i_at.X);
    }

    const Bed& _bed;
    const double _clearance;
    const Aim _aim;
    const Path _disc;
    IntPoint _centre;
    std::vector<Path> _taken; ///< simplified hulls of the placed parts, grown by the clearance
    std::map<Path, FreeRegion, PathOrder> _regions;
};

class Progress
{
public:
    explicit Progress(const PlacementOptions& i_options)
        : _options(i_options)
    {}

    void Tell(int i_percent)
    {
        ThrowIfStopped(_options.stop);
        if (i_percent <= _told)
            return;
        _told = i_percent;
        if (_options.onProgress)
            _options.onProgress(i_percent);
    }

private:
    const PlacementOptions& _options;
    int _told = -1;
};

Item MakeItem(const TavAM::Part& i_part, std::size_t i_index, double i_height)
{
    Item item;
    item.part = i_index;
    item.box = i_part.GetBoundingBox();
    const auto& [min, max] = item.box;
    item.middle = {(min.x + max.x) / 2, (min.y + max.y) / 2};
    item.extent = std::max(max.x - min.x, max.y - min.y);
    if (item.extent < MaxFootprintExtent && max.z - min.z <= i_height + 1e-6) {
        item.hull = MakeHullFootprint(i_part, item.middle);
        item.area = ClipperLib::Area(item.hull);
    }
    return item;
}

using Places = std::vector<std::optional<Place>>; ///< by item

Places Arrange(const std::vector<Item>& i_items, const Bed& i_bed, double i_clearance, const Strategy& i_strategy,
               const std::function<void(std::size_t)>& i_on_item)
{
    std::vector<std::size_t> order(i_items.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t i_left, std::size_t i_right) {
        return i_items[i_left].*i_strategy.key > i_items[i_right].*i_strategy.key;
    });
    Arrangement arrangement(i_bed, i_clearance, i_strategy.aim);
    Places places(i_items.size());
    std::size_t done = 0;
    for (const std::size_t index : order) {
        i_on_item(done++);
        if (!i_items[index].hull.empty())
            places[index] = arrangement.Add(i_items[index].hull);
    }
    return places;
}

TavAM::Transform MakeMove(const Item& i_item, const Place& i_place)
{
    double cosine = std::cos(i_place.angle * std::numbers::pi / 180);
    double sine = std::sin(i_place.angle * std::numbers::pi / 180);
    if (i_place.angle % 90 == 0) {
        cosine = std::round(cosine);
        sine = std::round(sine);
    }
    const TavAM::Transform turn{{cosine, -sine, 0, 0, sine, cosine, 0, 0, 0, 0, 1, 0}};
    const auto toMiddle = TavAM::Transform::Translation(-i_item.middle.x, -i_item.middle.y, -i_item.box.min.z);
    const auto toPlace = TavAM::Transform::Translation(static_cast<double>(i_place.at.X) / PlanarUnitsPerMillimetre,
                                                       static_cast<double>(i_place.at.Y) / PlanarUnitsPerMillimetre, 0);
    return toPlace.After(turn.After(toMiddle));
}

} // namespace

PlacementResult PlaceParts(TavAM::Platform& io_platform, const Bed& i_bed, double i_height,
                           const PlacementOptions& i_options)
{
    const auto& parts = io_platform.GetParts();
    if (parts.size() > MaxParts)
        Fail(ErrorCode::InternalError, "Automatic placement takes at most " + std::to_string(MaxParts) + " parts.");
    const double clearance = std::max(i_options.clearance, 0.1);

    PlacementResult result;
    Progress progress(i_options);
    std::vector<Item> items;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        progress.Tell(static_cast<int>(10 * index / parts.size()));
        if (parts[index].GetBoundingBox().IsEmpty())
            result.withoutMesh.push_back(GetPartLabel(parts[index], index));
        else
            items.push_back(MakeItem(parts[index], index, i_height));
    }

    const Path bedRegion = MakeInnerRegion(i_bed, clearance, {IntPoint(0, 0)});
    double area = 0;
    bool hopeless = false;
    for (const Item& item : items) {
        area += item.area;
        hopeless = hopeless || item.hull.empty() || area > ClipperLib::Area(bedRegion);
    }

    Places places;
    const auto countMissing = [](const Places& i_places) {
        return std::count(i_places.begin(), i_places.end(), std::nullopt);
    };
    std::size_t tried = 0;
    for (const Strategy& strategy : Strategies) {
        const auto onItem = [&](std::size_t i_done) {
            progress.Tell(static_cast<int>(10 + 20 * tried + 20 * i_done / items.size()));
        };
        Places candidate = Arrange(items, i_bed, clearance, strategy, onItem);
        if (tried++ == 0 || countMissing(candidate) < countMissing(places))
            places = std::move(candidate);
        if (countMissing(places) == 0 || hopeless || items.size() > MaxPartsForRetries)
            break;
    }
    for (std::size_t index = 0; index < items.size(); ++index) {
        if (!places[index])
            result.unplaced.push_back(GetPartLabel(parts[items[index].part], items[index].part));
    }
    if (!result.unplaced.empty())
        return result;

    progress.Tell(90);
    TavAM::Platform placed = io_platform;
    for (std::size_t index = 0; index < items.size(); ++index) {
        TavAM::Part& part = placed.GetParts()[items[index].part];
        part.SetPlacement(MakeMove(items[index], *places[index]).After(part.GetPlacement()));
    }
    PlacementRules rules;
    rules.clearance = clearance;
    for (const PlacementFault& fault : FindPlacementFaults(placed, i_bed, i_height, rules, i_options.stop)) {
        if (fault.kind != PlacementFault::Kind::WithoutMesh)
            Fail(ErrorCode::InternalError, "The placement that was found does not stand its check: " + fault.message);
    }
    io_platform = std::move(placed);
    progress.Tell(100);
    return result;
}

} // namespace MachineService::BuildProcessor
