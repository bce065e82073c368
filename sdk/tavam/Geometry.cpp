#include "tavam/Geometry.h"

#include <algorithm>
#include <cmath>

namespace TavAM {

namespace {

constexpr float LargestCoordinate = 1e6F;

/// False for what is not finite, too.
bool IsInRange(const Point3f& i_point)
{
    // All three are evaluated: without branches the loop over a mesh runs at the speed of memory.
    return static_cast<int>(std::fabs(i_point.x) <= LargestCoordinate) &
           static_cast<int>(std::fabs(i_point.y) <= LargestCoordinate) &
           static_cast<int>(std::fabs(i_point.z) <= LargestCoordinate);
}

Point3d ToDouble(const Point3f& i_point)
{
    return {i_point.x, i_point.y, i_point.z};
}

Point3d Subtract(const Point3d& i_a, const Point3d& i_b)
{
    return {i_a.x - i_b.x, i_a.y - i_b.y, i_a.z - i_b.z};
}

double GetDeterminant(const Point3d& i_a, const Point3d& i_b, const Point3d& i_c)
{
    return i_a.x * (i_b.y * i_c.z - i_b.z * i_c.y) + i_a.y * (i_b.z * i_c.x - i_b.x * i_c.z) +
           i_a.z * (i_b.x * i_c.y - i_b.y * i_c.x);
}

} // namespace

void BoundingBox::Add(const Point3d& i_point)
{
    if (IsEmpty()) {
        min = i_point;
        max = i_point;
        return;
    }
    min = {std::min(min.x, i_point.x), std::min(min.y, i_point.y), std::min(min.z, i_point.z)};
    max = {std::max(max.x, i_point.x), std::max(max.y, i_point.y), std::max(max.z, i_point.z)};
}

void BoundingBox::Add(const BoundingBox& i_other)
{
    if (i_other.IsEmpty())
        return;
    Add(i_other.min);
    Add(i_other.max);
}

Transform Transform::Translation(double i_x, double i_y, double i_z)
{
    return {{1, 0, 0, i_x, 0, 1, 0, i_y, 0, 0, 1, i_z}};
}

Transform Transform::After(const Transform& i_first) const
{
    Transform result;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = column == 3 ? rows[4 * row + 3] : 0;
            for (std::size_t index = 0; index < 3; ++index)
                sum += rows[4 * row + index] * i_first.rows[4 * index + column];
            result.rows[4 * row + column] = sum;
        }
    }
    return result;
}

Point3d Transform::Apply(const Point3d& i_point) const
{
    const auto apply = [&](std::size_t i_row) {
        return rows[i_row] * i_point.x + rows[i_row + 1] * i_point.y + rows[i_row + 2] * i_point.z + rows[i_row + 3];
    };
    return {apply(0), apply(4), apply(8)};
}

double Transform::GetDeterminant() const
{
    return TavAM::GetDeterminant({rows[0], rows[1], rows[2]}, {rows[4], rows[5], rows[6]},
                                 {rows[8], rows[9], rows[10]});
}

std::string FindMeshDefect(const Mesh& i_mesh)
{
    if (i_mesh.triangles.empty())
        return "it has no triangle";
    bool areVerticesSound = true;
    for (const Point3f& vertex : i_mesh.vertices)
        areVerticesSound &= IsInRange(vertex);
    if (!areVerticesSound) {
        const auto bad = std::find_if_not(i_mesh.vertices.begin(), i_mesh.vertices.end(), IsInRange);
        return "the coordinates of vertex " + std::to_string(bad - i_mesh.vertices.begin()) +
               " are not finite or beyond 1000000 mm";
    }
    std::uint32_t largest = 0;
    for (const auto& triangle : i_mesh.triangles)
        largest = std::max({largest, triangle[0], triangle[1], triangle[2]});
    if (largest >= i_mesh.vertices.size()) {
        return "a triangle refers to vertex " + std::to_string(largest) + " of " +
               std::to_string(i_mesh.vertices.size());
    }
    return {};
}

double GetVolume(const Mesh& i_mesh, const Transform& i_placement)
{
    if (i_mesh.triangles.empty())
        return 0;
    // Tetrahedra from a corner of the mesh itself: far from the origin, large terms would cancel each other.
    const Point3d origin = ToDouble(i_mesh.vertices.at(i_mesh.triangles.front()[0]));
    double sum = 0;
    for (const auto& triangle : i_mesh.triangles) {
        sum += GetDeterminant(Subtract(ToDouble(i_mesh.vertices.at(triangle[0])), origin),
                              Subtract(ToDouble(i_mesh.vertices.at(triangle[1])), origin),
                              Subtract(ToDouble(i_mesh.vertices.at(triangle[2])), origin));
    }
    return sum / 6 * i_placement.GetDeterminant();
}

BoundingBox GetBoundingBox(const Mesh& i_mesh, const Transform& i_placement)
{
    BoundingBox box;
    for (const Point3f& vertex : i_mesh.vertices)
        box.Add(i_placement.Apply(ToDouble(vertex)));
    return box;
}

} // namespace TavAM
