#include "buildprocessor/geometry/Footprint.h"

#include "buildprocessor/base/Cancellation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace MachineService::BuildProcessor {

using ClipperLib::IntPoint;
using ClipperLib::Path;
using ClipperLib::Paths;

namespace {

constexpr std::size_t MaxTriangles = 1'000'000;
constexpr double SmallestGap = 0.01 * PlanarUnitsPerMillimetre * PlanarUnitsPerMillimetre;

IntPoint Project(const TavAM::Point3f& i_vertex, const TavAM::Transform& i_placement, const PlanarPoint& i_origin)
{
    const TavAM::Point3d point = i_placement.Apply({i_vertex.x, i_vertex.y, i_vertex.z});
    return {std::llround((point.x - i_origin.x) * PlanarUnitsPerMillimetre),
            std::llround((point.y - i_origin.y) * PlanarUnitsPerMillimetre)};
}

/// Bits of x and y in turns: points that are near one another mostly get numbers that are near, too.
std::uint64_t Interleave(std::uint32_t i_x, std::uint32_t i_y)
{
    const auto spread = [](std::uint64_t i_value) {
        i_value = (i_value | (i_value << 16U)) & 0x0000FFFF0000FFFFU;
        i_value = (i_value | (i_value << 8U)) & 0x00FF00FF00FF00FFU;
        i_value = (i_value | (i_value << 4U)) & 0x0F0F0F0F0F0F0F0FU;
        i_value = (i_value | (i_value << 2U)) & 0x3333333333333333U;
        return (i_value | (i_value << 1U)) & 0x5555555555555555U;
    };
    return spread(i_x) | (spread(i_y) << 1U);
}

Paths Unite(const Paths& i_paths)
{
    ClipperLib::Clipper clipper;
    clipper.AddPaths(i_paths, ClipperLib::ptSubject, true);
    Paths united;
    clipper.Execute(ClipperLib::ctUnion, united, ClipperLib::pftNonZero, ClipperLib::pftNonZero);
    return united;
}

/// Neighbours first and then pairs of results: few edges live at a time, where one sweep over all would meet them all.
Paths UniteInSteps(Paths i_triangles, const std::stop_token& i_stop)
{
    const auto key = [](const Path& i_triangle) {
        constexpr ClipperLib::cInt shift = ClipperLib::cInt{1} << 31U;
        return Interleave(static_cast<std::uint32_t>(i_triangle[0].X + shift),
                          static_cast<std::uint32_t>(i_triangle[0].Y + shift));
    };
    std::vector<std::pair<std::uint64_t, std::size_t>> order;
    for (std::size_t index = 0; index < i_triangles.size(); ++index)
        order.emplace_back(key(i_triangles[index]), index);
    std::sort(order.begin(), order.end());

    constexpr std::size_t batchSize = 64;
    std::vector<Paths> parts;
    for (std::size_t begin = 0; begin < order.size(); begin += batchSize) {
        ThrowIfStopped(i_stop);
        Paths batch;
        for (std::size_t index = begin; index < std::min(begin + batchSize, order.size()); ++index)
            batch.push_back(std::move(i_triangles[order[index].second]));
        parts.push_back(Unite(batch));
    }
    while (parts.size() > 1) {
        std::vector<Paths> pairs;
        for (std::size_t index = 0; index < parts.size(); index += 2) {
            ThrowIfStopped(i_stop);
            Paths both = std::move(parts[index]);
            if (index + 1 < parts.size()) {
                both.insert(both.end(), parts[index + 1].begin(), parts[index + 1].end());
                both = Unite(both);
            }
            pairs.push_back(std::move(both));
        }
        parts = std::move(pairs);
    }
    return parts.empty() ? Paths() : std::move(parts.front());
}

} // namespace

Path MakeHullFootprint(const TavAM::Part& i_part, const PlanarPoint& i_origin)
{
    Path points;
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const TavAM::Transform& i_placement) {
            Path meshPoints;
            std::vector<bool> used(i_mesh.vertices.size());
            for (const auto& triangle : i_mesh.triangles) {
                for (const std::uint32_t vertex : triangle) {
                    if (!used[vertex])
                        meshPoints.push_back(Project(i_mesh.vertices[vertex], i_placement, i_origin));
                    used[vertex] = true;
                }
            }
            // Mesh by mesh, so that the points of all members are never there at once.
            meshPoints = MakeConvexHull(std::move(meshPoints));
            points.insert(points.end(), meshPoints.begin(), meshPoints.end());
        });
    Path hull = MakeConvexHull(points);
    if (!hull.empty() && hull.size() < 3) {
        constexpr ClipperLib::cInt width = 8;
        for (const IntPoint& point : hull) {
            for (const auto& [x, y] : {std::pair{-width, -width}, {width, -width}, {width, width}, {-width, width}})
                points.emplace_back(point.X + x, point.Y + y);
        }
        hull = MakeConvexHull(std::move(points));
    }
    return hull;
}

Paths MakeFootprint(const TavAM::Part& i_part, const PlanarPoint& i_origin, const std::stop_token& i_stop)
{
    std::size_t count = 0;
    i_part.GetRepresentation().ForEachMesh(i_part.GetPlacement(),
                                           [&](const auto& i_mesh, const auto&) { count += i_mesh.triangles.size(); });
    if (count > MaxTriangles)
        return {MakeHullFootprint(i_part, i_origin)};

    Paths triangles;
    triangles.reserve(count);
    i_part.GetRepresentation().ForEachMesh(i_part.GetPlacement(),
                                           [&](const TavAM::Mesh& i_mesh, const TavAM::Transform& i_placement) {
                                               Path vertices;
                                               vertices.reserve(i_mesh.vertices.size());
                                               for (const auto& vertex : i_mesh.vertices)
                                                   vertices.push_back(Project(vertex, i_placement, i_origin));
                                               for (const auto& [a, b, c] : i_mesh.triangles) {
                                                   Path triangle{vertices[a], vertices[b], vertices[c]};
                                                   const double area = ClipperLib::Area(triangle);
                                                   if (area < 0)
                                                       std::swap(triangle[1], triangle[2]);
                                                   if (area != 0)
                                                       triangles.push_back(std::move(triangle));
                                               }
                                           });
    Paths footprint = UniteInSteps(std::move(triangles), i_stop);
    std::erase_if(footprint, [](const Path& i_path) {
        const double area = ClipperLib::Area(i_path);
        return area <= 0 && -area < SmallestGap;
    });
    if (footprint.empty() && count > 0)
        return {MakeHullFootprint(i_part, i_origin)};
    return footprint;
}

} // namespace MachineService::BuildProcessor
