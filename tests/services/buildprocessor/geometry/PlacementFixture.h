#pragma once

#include "services/ServiceFiles.h"

#include "buildprocessor/geometry/AutomaticPlacement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

namespace MachineService::BuildProcessor {

using TavAM::Transform;

inline constexpr double Slack = 0.005; // what the placement promises to keep a clearance to, mm

inline Bed Rectangle(double i_width, double i_depth)
{
    Bed bed;
    bed.outline = {{0, 0}, {i_width, 0}, {i_width, i_depth}, {0, i_depth}};
    return bed;
}

inline Bed Circle(double i_diameter)
{
    Bed bed;
    bed.shape = BedShape::Circle;
    bed.centre = {20, -10};
    bed.diameter = i_diameter;
    return bed;
}

/// A prism over a polygon that is a star around its first corner.
inline TavAM::Mesh Prism(const std::vector<std::pair<double, double>>& i_outline, double i_height)
{
    TavAM::Mesh mesh;
    const auto count = static_cast<std::uint32_t>(i_outline.size());
    for (const double z : {0.0, i_height}) {
        for (const auto& [x, y] : i_outline)
            mesh.vertices.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    }
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t next = (index + 1) % count;
        mesh.triangles.push_back({index, next, count + next});
        mesh.triangles.push_back({index, count + next, count + index});
        if (index > 0 && next > 0) {
            mesh.triangles.push_back({0, next, index});
            mesh.triangles.push_back({count, count + index, count + next});
        }
    }
    return mesh;
}

inline TavAM::Mesh Box(float i_width, float i_depth, float i_height)
{
    return Testing::MakeBox(0, 0, 0, i_width, i_depth, i_height);
}

inline TavAM::Mesh Disc(double i_diameter, int i_corners)
{
    std::vector<std::pair<double, double>> outline;
    for (int corner = 0; corner < i_corners; ++corner) {
        const double angle = 2 * std::numbers::pi * corner / i_corners;
        outline.emplace_back(i_diameter / 2 * std::cos(angle), i_diameter / 2 * std::sin(angle));
    }
    return Prism(outline, 10);
}

inline TavAM::Representation Shape(TavAM::Mesh i_mesh)
{
    return Testing::ToRepresentation(std::move(i_mesh));
}

/// All parts begin at one place above the bed.
inline TavAM::Part MakePart(const std::wstring& i_name, TavAM::Representation i_shape,
                            const Transform& i_placement = Transform::Translation(-500, 300, 40))
{
    auto part = Testing::MakePart(i_name, std::move(i_shape));
    part.SetPlacement(i_placement);
    return part;
}

using Parts = std::vector<TavAM::Part>;

inline Parts Same(int i_count, const TavAM::Representation& i_shape)
{
    Parts parts;
    for (int index = 0; index < i_count; ++index)
        parts.push_back(MakePart(L"p" + std::to_wstring(index), i_shape));
    return parts;
}

inline Parts Same(int i_count, TavAM::Mesh i_mesh)
{
    return Same(i_count, Shape(std::move(i_mesh)));
}

using Point = std::complex<double>;
using Edge = std::pair<Point, Point>;

inline double Cross(const Point& i_a, const Point& i_b)
{
    return (std::conj(i_a) * i_b).imag();
}

/// Edges of the triangles that look up, seen from above; of all when none does.
inline std::vector<Edge> GetEdges(const TavAM::Part& i_part)
{
    std::vector<Edge> up;
    std::vector<Edge> all;
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const Transform& i_placement) {
            for (const auto& corners : i_mesh.triangles) {
                std::array<Point, 3> points;
                std::transform(corners.begin(), corners.end(), points.begin(), [&](std::uint32_t i_corner) {
                    const auto& vertex = i_mesh.vertices[i_corner];
                    const auto placed = i_placement.Apply({vertex.x, vertex.y, vertex.z});
                    return Point(placed.x, placed.y);
                });
                auto& edges = Cross(points[1] - points[0], points[2] - points[0]) > 1e-9 ? up : all;
                for (std::size_t index = 0; index < 3; ++index)
                    edges.emplace_back(points[index], points[(index + 1) % 3]);
            }
        });
    return up.empty() ? all : up;
}

inline double Distance(const Point& i_point, const Edge& i_edge)
{
    const Point way = i_edge.second - i_edge.first;
    const Point to = i_point - i_edge.first;
    const double share = way == Point() ? 0 : std::clamp((std::conj(way) * to).real() / std::norm(way), 0.0, 1.0);
    return std::abs(to - share * way);
}

/// 0 when the edges cross.
inline double Distance(const Edge& i_left, const Edge& i_right)
{
    const auto& [a, b] = i_left;
    const auto& [c, d] = i_right;
    if (Cross(b - a, c - a) * Cross(b - a, d - a) < 0 && Cross(d - c, a - c) * Cross(d - c, b - c) < 0)
        return 0;
    return std::min({Distance(a, i_right), Distance(b, i_right), Distance(c, i_left), Distance(d, i_left)});
}

inline double GetDepth(const Bed& i_bed, const Point& i_point)
{
    if (i_bed.shape == BedShape::Circle)
        return i_bed.diameter / 2 - std::abs(i_point - Point(i_bed.centre.x, i_bed.centre.y));
    double depth = std::numeric_limits<double>::max();
    for (std::size_t from = 0; from < i_bed.outline.size(); ++from) {
        const auto& a = i_bed.outline[from];
        const auto& b = i_bed.outline[(from + 1) % i_bed.outline.size()];
        const Point way(b.x - a.x, b.y - a.y);
        depth = std::min(depth, Cross(way, i_point - Point(a.x, a.y)) / std::abs(way));
    }
    return depth;
}

/// Edge by edge, without any of the code under test.
inline void ExpectPlaced(const TavAM::Platform& i_platform, const Bed& i_bed, const PlacementOptions& i_options)
{
    struct Obstacle
    {
        std::vector<Edge> edges;
        TavAM::BoundingBox box;
        double clearance;
    };
    std::vector<Obstacle> obstacles;
    for (const NoBuildZone& zone : i_options.zones) {
        constexpr double touch = 2 * Slack;
        const Point a(zone.minX + touch, zone.minY + touch);
        const Point c(zone.maxX - touch, zone.maxY - touch);
        const Point b(c.real(), a.imag());
        const Point d(a.real(), c.imag());
        obstacles.push_back({{{a, b}, {b, c}, {c, d}, {d, a}},
                             {{zone.minX, zone.minY, zone.minZ}, {zone.maxX, zone.maxY, zone.maxZ}},
                             touch});
    }
    for (const TavAM::Part& part : i_platform.GetParts()) {
        const auto edges = GetEdges(part);
        const auto box = part.GetBoundingBox();
        EXPECT_NEAR(box.min.z, 0, 1e-4);
        for (const Edge& edge : edges)
            EXPECT_GE(GetDepth(i_bed, edge.first), i_options.clearances.partToWall - Slack);
        for (const auto& [others, otherBox, clearance] : obstacles) {
            if (otherBox.min.z >= box.max.z ||
                std::max({box.min.x - otherBox.max.x, otherBox.min.x - box.max.x, box.min.y - otherBox.max.y,
                          otherBox.min.y - box.max.y}) >= clearance)
                continue;
            double distance = std::numeric_limits<double>::max();
            for (const Edge& left : edges) {
                for (const Edge& right : others)
                    distance = std::min(distance, Distance(left, right));
            }
            EXPECT_GE(distance, clearance - Slack);
        }
        obstacles.push_back({edges, box, i_options.clearances.partToPart});
    }
}

} // namespace MachineService::BuildProcessor
