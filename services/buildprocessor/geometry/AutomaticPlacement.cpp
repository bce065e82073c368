#include "buildprocessor/geometry/AutomaticPlacement.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/geometry/Arrangement.h"
#include "buildprocessor/geometry/Footprint.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/geometry/PlacementCheck.h"
#include "contract/Failure.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace MachineService::BuildProcessor {

using ClipperLib::IntPoint;
using ClipperLib::Path;

namespace {

constexpr std::size_t MaxParts = 500;
constexpr std::size_t MaxPartsForRetries = 150; ///< beyond it one arrangement is tried, so that the time stays bounded
constexpr double MaxClearance = 10'000; ///< mm; beyond every bed, and within the whole numbers of the clipping library

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

struct Strategy
{
    Aim aim;
    double Item::*key; ///< large ones first
};

constexpr Strategy Strategies[] = {{Aim::Centre, &Item::area},
                                   {Aim::Compact, &Item::area},
                                   {Aim::Compact, &Item::extent},
                                   {Aim::Centre, &Item::extent}};

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

Places Arrange(const std::vector<Item>& i_items, const Bed& i_bed, const PlacementOptions& i_options,
               double i_clearance, const Strategy& i_strategy, const std::function<void(std::size_t)>& i_on_item)
{
    std::vector<std::size_t> order(i_items.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t i_left, std::size_t i_right) {
        return i_items[i_left].*i_strategy.key > i_items[i_right].*i_strategy.key;
    });
    Arrangement arrangement(i_bed, i_options, i_clearance, i_strategy.aim);
    Places places(i_items.size());
    std::size_t done = 0;
    for (const std::size_t index : order) {
        i_on_item(done++);
        const auto& [min, max] = i_items[index].box;
        if (!i_items[index].hull.empty())
            places[index] = arrangement.Add(i_items[index].hull, max.z - min.z);
    }
    return places;
}

TavAM::Transform MakeMove(const Item& i_item, const Place& i_place)
{
    const auto [cosine, sine] = GetDirection(i_place.angle);
    const TavAM::Transform turn{{cosine, -sine, 0, 0, sine, cosine, 0, 0, 0, 0, 1, 0}};
    const auto toMiddle = TavAM::Transform::Translation(-i_item.middle.x, -i_item.middle.y, -i_item.box.min.z);
    const auto toPlace = TavAM::Transform::Translation(static_cast<double>(i_place.at.X) / PlanarUnitsPerMillimetre,
                                                       static_cast<double>(i_place.at.Y) / PlanarUnitsPerMillimetre, 0);
    return toPlace.After(turn.After(toMiddle));
}

/// Tries one strategy after another until every part has its place.
/// \return the places of the strategy that found most.
Places FindPlaces(const std::vector<Item>& i_items, const Bed& i_bed, const PlacementOptions& i_options,
                  double i_clearance, Progress& io_progress)
{
    const Path bedRegion = MakeInnerRegion(i_bed, i_options.clearances.partToWall, {IntPoint(0, 0)});
    double area = 0;
    bool hopeless = false;
    for (const Item& item : i_items) {
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
            io_progress.Tell(static_cast<int>(10 + 20 * tried + 20 * i_done / i_items.size()));
        };
        Places candidate = Arrange(i_items, i_bed, i_options, i_clearance, strategy, onItem);
        if (tried++ == 0 || countMissing(candidate) < countMissing(places))
            places = std::move(candidate);
        if (countMissing(places) == 0 || hopeless || i_items.size() > MaxPartsForRetries)
            break;
    }
    return places;
}

} // namespace

PlacementResult PlaceParts(TavAM::Platform& io_platform, const Bed& i_bed, double i_height,
                           const PlacementOptions& i_options)
{
    const auto& parts = io_platform.GetParts();
    if (parts.size() > MaxParts)
        Fail(ErrorCode::InternalError, "Automatic placement takes at most " + std::to_string(MaxParts) + " parts.");
    const double clearance = std::clamp(i_options.clearances.partToPart, 0.1, MaxClearance);

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

    const Places places = FindPlaces(items, i_bed, i_options, clearance, progress);
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
    rules.clearances = {clearance, i_options.clearances.partToWall};
    rules.zones = i_options.zones;
    for (const PlacementFault& fault : FindPlacementFaults(placed, i_bed, i_height, rules, i_options.stop)) {
        if (fault.kind != PlacementFault::Kind::WithoutMesh)
            Fail(ErrorCode::InternalError, "The placement that was found does not stand its check: " + fault.message);
    }
    io_platform = std::move(placed);
    progress.Tell(100);
    return result;
}

} // namespace MachineService::BuildProcessor
