#include "buildprocessor/geometry/ConvexPolygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace MachineService::BuildProcessor {

using ClipperLib::IntPoint;
using ClipperLib::Path;

namespace {

// Widens the inner region, see its comment.
constexpr double RegionTolerance = 10;

/// Twice the area to the left of the way from a over b to c; coordinates of beds stay far below the range of the type.
ClipperLib::cInt Turn(const IntPoint& i_a, const IntPoint& i_b, const IntPoint& i_c)
{
    return (i_b.X - i_a.X) * (i_c.Y - i_b.Y) - (i_b.Y - i_a.Y) * (i_c.X - i_b.X);
}

bool IsBefore(const IntPoint& i_left, const IntPoint& i_right)
{
    return i_left.X != i_right.X ? i_left.X < i_right.X : i_left.Y < i_right.Y;
}

struct HalfPlane
{
    PlanarPoint normal; ///< of length 1, inwards
    double offset = 0;  ///< of the line from the origin along the normal, planar units
};

std::vector<HalfPlane> GetHalfPlanes(const Bed& i_bed)
{
    std::vector<HalfPlane> planes;
    if (i_bed.shape == BedShape::Circle) {
        // Tangents: the polygon that they make leaves the circle by less than 2.5 µm at a radius of 1 m.
        constexpr int count = 1440;
        for (int index = 0; index < count; ++index) {
            const double angle = 2 * std::numbers::pi * index / count;
            const PlanarPoint normal{-std::cos(angle), -std::sin(angle)};
            planes.push_back({normal, (normal.x * i_bed.centre.x + normal.y * i_bed.centre.y - i_bed.diameter / 2) *
                                          PlanarUnitsPerMillimetre});
        }
        return planes;
    }
    for (std::size_t index = 0; index < i_bed.outline.size(); ++index) {
        const BedPoint& from = i_bed.outline[index];
        const BedPoint& to = i_bed.outline[(index + 1) % i_bed.outline.size()];
        const double length = std::hypot(to.x - from.x, to.y - from.y);
        const PlanarPoint normal{-(to.y - from.y) / length, (to.x - from.x) / length};
        planes.push_back({normal, (normal.x * from.x + normal.y * from.y) * PlanarUnitsPerMillimetre});
    }
    return planes;
}

/// What of the convex polygon lies on the inner side.
std::vector<PlanarPoint> Clip(const std::vector<PlanarPoint>& i_polygon, const HalfPlane& i_plane)
{
    const auto distance = [&](const PlanarPoint& i_point) {
        return i_plane.normal.x * i_point.x + i_plane.normal.y * i_point.y - i_plane.offset;
    };
    std::vector<PlanarPoint> kept;
    for (std::size_t index = 0; index < i_polygon.size(); ++index) {
        const PlanarPoint& from = i_polygon[index];
        const PlanarPoint& to = i_polygon[(index + 1) % i_polygon.size()];
        const double atFrom = distance(from);
        const double atTo = distance(to);
        if (atFrom >= 0)
            kept.push_back(from);
        if ((atFrom >= 0) != (atTo >= 0)) {
            const double share = atFrom / (atFrom - atTo);
            kept.push_back({from.x + share * (to.x - from.x), from.y + share * (to.y - from.y)});
        }
    }
    return kept;
}

} // namespace

Path MakeConvexHull(Path i_points)
{
    std::sort(i_points.begin(), i_points.end(), IsBefore);
    i_points.erase(std::unique(i_points.begin(), i_points.end()), i_points.end());
    if (i_points.size() < 3)
        return i_points;
    Path hull;
    const auto walk = [&hull](auto i_begin, auto i_end) {
        const std::size_t start = hull.size();
        for (auto point = i_begin; point != i_end; ++point) {
            while (hull.size() >= start + 2 && Turn(hull[hull.size() - 2], hull.back(), *point) <= 0)
                hull.pop_back();
            hull.push_back(*point);
        }
        hull.pop_back(); // the first point of the other half
    };
    walk(i_points.begin(), i_points.end());
    walk(i_points.rbegin(), i_points.rend());
    return hull;
}

Path SimplifyOutwards(const Path& i_polygon, std::size_t i_max_count)
{
    Path polygon = i_polygon;
    while (polygon.size() > i_max_count) {
        const std::size_t count = polygon.size();
        double smallest = std::numeric_limits<double>::max();
        std::size_t best = count;
        PlanarPoint bestCorner;
        for (std::size_t index = 0; index < count; ++index) {
            const IntPoint& a = polygon[(index + count - 1) % count];
            const IntPoint& b = polygon[index];
            const IntPoint& c = polygon[(index + 1) % count];
            const IntPoint& d = polygon[(index + 2) % count];
            // Where the edges before and behind the edge b-c meet when it goes; behind them when they diverge.
            const double cross = static_cast<double>(b.X - a.X) * static_cast<double>(d.Y - c.Y) -
                                 static_cast<double>(b.Y - a.Y) * static_cast<double>(d.X - c.X);
            if (cross <= 0)
                continue;
            const double share = (static_cast<double>(c.X - b.X) * static_cast<double>(d.Y - c.Y) -
                                  static_cast<double>(c.Y - b.Y) * static_cast<double>(d.X - c.X)) /
                                 cross;
            const PlanarPoint corner{static_cast<double>(b.X) + share * static_cast<double>(b.X - a.X),
                                     static_cast<double>(b.Y) + share * static_cast<double>(b.Y - a.Y)};
            const double area = static_cast<double>(c.X - b.X) * (corner.y - static_cast<double>(b.Y)) -
                                static_cast<double>(c.Y - b.Y) * (corner.x - static_cast<double>(b.X));
            if (std::abs(area) < smallest) {
                smallest = std::abs(area);
                best = index;
                bestCorner = corner;
            }
        }
        if (best == count)
            break;
        const std::size_t next = (best + 1) % count;
        polygon[best] = IntPoint(std::llround(bestCorner.x), std::llround(bestCorner.y));
        polygon.erase(polygon.begin() + static_cast<std::ptrdiff_t>(next));
    }
    // Rounding the new corners can leave a dent of one unit.
    return MakeConvexHull(std::move(polygon));
}

Path AddConvex(const Path& i_left, const Path& i_right)
{
    // Both begin at their lowest point; the edges of both, in the order of their directions, are the edges of the sum.
    const auto lowest = [](const Path& i_path) {
        return std::min_element(i_path.begin(), i_path.end(),
                                [](const IntPoint& i_a, const IntPoint& i_b) {
                                    return i_a.Y != i_b.Y ? i_a.Y < i_b.Y : i_a.X < i_b.X;
                                }) -
               i_path.begin();
    };
    Path left = i_left;
    Path right = i_right;
    std::rotate(left.begin(), left.begin() + lowest(left), left.end());
    std::rotate(right.begin(), right.begin() + lowest(right), right.end());
    const std::size_t leftCount = left.size();
    const std::size_t rightCount = right.size();
    Path sum;
    sum.reserve(leftCount + rightCount);
    for (std::size_t i = 0, j = 0; i < leftCount || j < rightCount;) {
        const IntPoint& a = left[i % leftCount];
        const IntPoint& b = right[j % rightCount];
        sum.emplace_back(a.X + b.X, a.Y + b.Y);
        const IntPoint& nextA = left[(i + 1) % leftCount];
        const IntPoint& nextB = right[(j + 1) % rightCount];
        const auto cross = (nextA.X - a.X) * (nextB.Y - b.Y) - (nextA.Y - a.Y) * (nextB.X - b.X);
        if (j == rightCount || (i < leftCount && cross > 0)) {
            ++i;
        } else if (i == leftCount || cross < 0) {
            ++j;
        } else {
            ++i;
            ++j;
        }
    }
    return sum;
}

Path Mirror(const Path& i_polygon)
{
    Path mirrored;
    for (const IntPoint& point : i_polygon)
        mirrored.emplace_back(-point.X, -point.Y);
    return mirrored;
}

Path Move(const Path& i_polygon, const IntPoint& i_by)
{
    Path moved;
    for (const IntPoint& point : i_polygon)
        moved.emplace_back(point.X + i_by.X, point.Y + i_by.Y);
    return moved;
}

PlanarPoint GetDirection(double i_angle)
{
    PlanarPoint direction{std::cos(i_angle * std::numbers::pi / 180), std::sin(i_angle * std::numbers::pi / 180)};
    if (std::remainder(i_angle, 90) == 0)
        direction = {std::round(direction.x), std::round(direction.y)};
    return direction;
}

Path Rotate(const Path& i_hull, double i_angle)
{
    const auto [cosine, sine] = GetDirection(i_angle);
    Path rotated;
    for (const IntPoint& point : i_hull) {
        const auto x = static_cast<double>(point.X);
        const auto y = static_cast<double>(point.Y);
        rotated.emplace_back(std::llround(cosine * x - sine * y), std::llround(sine * x + cosine * y));
    }
    return MakeConvexHull(std::move(rotated));
}

Path MakeDisc(double i_radius)
{
    constexpr int corners = 24;
    const double radius = i_radius / std::cos(std::numbers::pi / corners);
    Path disc;
    for (int corner = 0; corner < corners; ++corner) {
        const double angle = 2 * std::numbers::pi * (corner + 0.5) / corners;
        disc.emplace_back(std::llround(radius * std::cos(angle)), std::llround(radius * std::sin(angle)));
    }
    return disc;
}

Path MakeInnerRegion(const Bed& i_bed, double i_clearance, const Path& i_hull)
{
    constexpr double far = 1e9;
    std::vector<PlanarPoint> region{{-far, -far}, {far, -far}, {far, far}, {-far, far}};
    for (HalfPlane plane : GetHalfPlanes(i_bed)) {
        double reach = std::numeric_limits<double>::max();
        for (const IntPoint& corner : i_hull) {
            reach = std::min(reach, plane.normal.x * static_cast<double>(corner.X) +
                                        plane.normal.y * static_cast<double>(corner.Y));
        }
        plane.offset += i_clearance * PlanarUnitsPerMillimetre - reach - RegionTolerance;
        region = Clip(region, plane);
    }
    Path path;
    for (const PlanarPoint& point : region)
        path.emplace_back(std::llround(point.x), std::llround(point.y));
    path = MakeConvexHull(std::move(path));
    return path.size() < 3 ? Path() : path;
}

PlanarPoint GetBedCentre(const Bed& i_bed)
{
    if (i_bed.shape == BedShape::Circle)
        return {i_bed.centre.x, i_bed.centre.y};
    PlanarPoint centre;
    double area = 0;
    for (std::size_t index = 0; index < i_bed.outline.size(); ++index) {
        const BedPoint& from = i_bed.outline[index];
        const BedPoint& to = i_bed.outline[(index + 1) % i_bed.outline.size()];
        const double cross = from.x * to.y - to.x * from.y;
        area += cross;
        centre.x += (from.x + to.x) * cross;
        centre.y += (from.y + to.y) * cross;
    }
    return {centre.x / (3 * area), centre.y / (3 * area)};
}

} // namespace MachineService::BuildProcessor
