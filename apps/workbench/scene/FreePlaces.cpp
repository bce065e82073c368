#include "workbench/scene/FreePlaces.h"

#include <algorithm>
#include <cmath>

namespace Workbench {

namespace {

constexpr double Gap = 4;
constexpr int StepsAcross = 40;

/// A rectangle on the bed.
struct Spot
{
    double minX, minY, maxX, maxY;

    bool IsClearOf(const Spot& i_other) const
    {
        return minX >= i_other.maxX + Gap || i_other.minX >= maxX + Gap || minY >= i_other.maxY + Gap ||
               i_other.minY >= maxY + Gap;
    }
};

Spot ToSpot(const TavAM::BoundingBox& i_box)
{
    return {i_box.min.x, i_box.min.y, i_box.max.x, i_box.max.y};
}

bool IsOnBed(const Spot& i_spot, const MachineService::BuildVolume& i_volume)
{
    if (!i_volume.isCircular)
        return i_spot.minX >= i_volume.minX && i_spot.maxX <= i_volume.maxX && i_spot.minY >= i_volume.minY &&
               i_spot.maxY <= i_volume.maxY;
    const double x = (i_volume.minX + i_volume.maxX) / 2;
    const double y = (i_volume.minY + i_volume.maxY) / 2;
    const double furthestX = std::max(std::abs(i_spot.minX - x), std::abs(i_spot.maxX - x));
    const double furthestY = std::max(std::abs(i_spot.minY - y), std::abs(i_spot.maxY - y));
    return std::hypot(furthestX, furthestY) <= (i_volume.maxX - i_volume.minX) / 2;
}

struct Point
{
    double x, y;
};

/// Nearest to the middle first.
std::vector<Point> MakeCandidates(const MachineService::BuildVolume& i_volume)
{
    const double x = (i_volume.minX + i_volume.maxX) / 2;
    const double y = (i_volume.minY + i_volume.maxY) / 2;
    const double step = std::max(i_volume.maxX - i_volume.minX, i_volume.maxY - i_volume.minY) / StepsAcross;
    std::vector<Point> candidates;
    for (int row = -StepsAcross / 2; row <= StepsAcross / 2; ++row) {
        for (int column = -StepsAcross / 2; column <= StepsAcross / 2; ++column)
            candidates.push_back({x + column * step, y + row * step});
    }
    std::stable_sort(candidates.begin(), candidates.end(), [&](const Point& i_a, const Point& i_b) {
        return std::hypot(i_a.x - x, i_a.y - y) < std::hypot(i_b.x - x, i_b.y - y);
    });
    return candidates;
}

} // namespace

void PlaceBeside(const std::vector<TavAM::BoundingBox>& i_taken, std::vector<TavAM::Part>& io_parts,
                 const MachineService::BuildVolume& i_volume)
{
    std::vector<Spot> taken;
    for (const TavAM::BoundingBox& box : i_taken) {
        if (!box.IsEmpty())
            taken.push_back(ToSpot(box));
    }
    std::vector<Point> candidates = MakeCandidates(i_volume);
    // No part can have its middle in what is taken: hundreds of parts would ask for each of these places again.
    const auto take = [&](const Spot& i_spot) {
        std::erase_if(candidates, [&](const Point& i_point) {
            return !i_spot.IsClearOf({i_point.x, i_point.y, i_point.x, i_point.y});
        });
    };
    std::for_each(taken.begin(), taken.end(), take);
    double asideX = i_volume.maxX + Gap;
    for (const Spot& spot : taken)
        asideX = std::max(asideX, spot.maxX + Gap);
    for (TavAM::Part& part : io_parts) {
        const auto box = part.GetBoundingBox();
        if (box.IsEmpty())
            continue;
        const double width = box.max.x - box.min.x;
        const double depth = box.max.y - box.min.y;
        const auto around = [&](const Point& i_point) {
            return Spot{i_point.x - width / 2, i_point.y - depth / 2, i_point.x + width / 2, i_point.y + depth / 2};
        };
        const auto found = std::find_if(candidates.begin(), candidates.end(), [&](const Point& i_point) {
            const Spot spot = around(i_point);
            return IsOnBed(spot, i_volume) && std::all_of(taken.begin(), taken.end(),
                                                          [&](const Spot& i_other) { return spot.IsClearOf(i_other); });
        });
        Spot spot{asideX, i_volume.minY, asideX + width, i_volume.minY + depth};
        if (found != candidates.end())
            spot = around(*found);
        else
            asideX += width + Gap;
        const auto move = TavAM::Transform::Translation(spot.minX - box.min.x, spot.minY - box.min.y, -box.min.z);
        part.SetPlacement(move.After(part.GetPlacement()));
        taken.push_back(spot);
        take(spot);
    }
}

} // namespace Workbench
