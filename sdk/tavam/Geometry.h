#pragma once

#include "tavam_export.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace TavAM {

struct Point3f
{
    float x = 0;
    float y = 0;
    float z = 0;
    bool operator==(const Point3f&) const = default;
};

struct Point3d
{
    double x = 0;
    double y = 0;
    double z = 0;
    bool operator==(const Point3d&) const = default;
};

/// Box parallel to the axes. Units: mm. Empty when min is above max.
struct TAVAM_EXPORT BoundingBox
{
    Point3d min = {1, 1, 1};
    Point3d max = {-1, -1, -1};

    bool IsEmpty() const { return min.x > max.x || min.y > max.y || min.z > max.z; }
    void Add(const Point3d& i_point);
    void Add(const BoundingBox& i_other);
};

/// Affine placement: three rows of four, the fourth column is the translation in mm.
struct TAVAM_EXPORT Transform
{
    std::array<double, 12> rows = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

    static Transform Translation(double i_x, double i_y, double i_z);
    /// This after i_first: point -> this(i_first(point)).
    Transform After(const Transform& i_first) const;
    Point3d Apply(const Point3d& i_point) const;
    /// By how much it multiplies volumes; negative when it mirrors.
    double GetDeterminant() const;
    bool operator==(const Transform&) const = default;
};

/// Triangles over shared vertices. Units: mm. Immutable once shared: scenes and files keep it by shared_ptr<const
/// Mesh>.
struct TAVAM_EXPORT Mesh
{
    std::vector<Point3f> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles; ///< indices into vertices, counter-clockwise from outside

    bool operator==(const Mesh&) const = default;
};

/// Says what is wrong with a mesh from outside: no triangle, a coordinate that is not finite or beyond 1e6 mm, an index
/// out of range. Empty when it is sound.
TAVAM_EXPORT std::string FindMeshDefect(const Mesh& i_mesh);
/// Enclosed volume, mm³; negative when the triangles face inwards.
TAVAM_EXPORT double GetVolume(const Mesh& i_mesh, const Transform& i_placement);
TAVAM_EXPORT BoundingBox GetBoundingBox(const Mesh& i_mesh, const Transform& i_placement);

} // namespace TavAM
