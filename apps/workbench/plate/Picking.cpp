#include "workbench/plate/Picking.h"

#include "workbench/plate/PlateModel.h"

#include <QPolygonF>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Workbench {

namespace {

using TavAM::Point3d;

constexpr double Infinity = std::numeric_limits<double>::infinity();

bool MeetsBox(const Ray& i_ray, const TavAM::BoundingBox& i_box)
{
    double enter = 0;
    double leave = Infinity;
    const auto cut = [&](double i_origin, double i_direction, double i_min, double i_max) {
        if (std::abs(i_direction) < 1e-12)
            return i_origin >= i_min && i_origin <= i_max;
        const double a = (i_min - i_origin) / i_direction;
        const double b = (i_max - i_origin) / i_direction;
        enter = std::max(enter, std::min(a, b));
        leave = std::min(leave, std::max(a, b));
        return true;
    };
    return cut(i_ray.origin.x, i_ray.direction.x, i_box.min.x, i_box.max.x) &&
           cut(i_ray.origin.y, i_ray.direction.y, i_box.min.y, i_box.max.y) &&
           cut(i_ray.origin.z, i_ray.direction.z, i_box.min.z, i_box.max.z) && enter <= leave;
}

/// The ray in the coordinates of a body, so that its corners need not be placed.
std::optional<Ray> ToBody(const Ray& i_ray, const TavAM::Transform& i_placement)
{
    QMatrix4x4 matrix;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 4; ++column)
            matrix(row, column) = static_cast<float>(i_placement.rows[static_cast<std::size_t>(row * 4 + column)]);
    }
    bool isInvertible = false;
    const QMatrix4x4 inverse = matrix.inverted(&isInvertible);
    if (!isInvertible)
        return std::nullopt;
    const auto vector = [](const Point3d& i_point) {
        return QVector3D(static_cast<float>(i_point.x), static_cast<float>(i_point.y), static_cast<float>(i_point.z));
    };
    const auto point = [](const QVector3D& i_vector) {
        return Point3d{static_cast<double>(i_vector.x()), static_cast<double>(i_vector.y()),
                       static_cast<double>(i_vector.z())};
    };
    return Ray{point(inverse.map(vector(i_ray.origin))), point(inverse.mapVector(vector(i_ray.direction)))};
}

/// How far along the ray the nearest triangle is; infinite when there is none.
double MeetMesh(const Ray& i_ray, const TavAM::Mesh& i_mesh)
{
    double nearest = Infinity;
    const Point3d& d = i_ray.direction;
    for (const auto& triangle : i_mesh.triangles) {
        const TavAM::Point3f& a = i_mesh.vertices[triangle[0]];
        const TavAM::Point3f& b = i_mesh.vertices[triangle[1]];
        const TavAM::Point3f& c = i_mesh.vertices[triangle[2]];
        const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
        const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
        const double px = d.y * vz - d.z * vy, py = d.z * vx - d.x * vz, pz = d.x * vy - d.y * vx;
        const double determinant = ux * px + uy * py + uz * pz;
        if (std::abs(determinant) < 1e-12)
            continue;
        const double sx = i_ray.origin.x - a.x, sy = i_ray.origin.y - a.y, sz = i_ray.origin.z - a.z;
        const double first = (sx * px + sy * py + sz * pz) / determinant;
        if (first < 0 || first > 1)
            continue;
        const double qx = sy * uz - sz * uy, qy = sz * ux - sx * uz, qz = sx * uy - sy * ux;
        const double second = (d.x * qx + d.y * qy + d.z * qz) / determinant;
        if (second < 0 || first + second > 1)
            continue;
        const double along = (vx * qx + vy * qy + vz * qz) / determinant;
        if (along > 0)
            nearest = std::min(nearest, along);
    }
    return nearest;
}

} // namespace

std::optional<PickedPoint> PickPart(const PlateModel& i_model, const Camera& i_camera, const QPointF& i_pixel)
{
    const Ray ray = i_camera.GetRay(i_pixel);
    double nearest = Infinity;
    std::optional<PickedPoint> picked;
    for (const PlatePart& part : i_model.GetParts()) {
        if (part.box.IsEmpty() || !MeetsBox(ray, part.box))
            continue;
        for (const PlateBody& body : part.bodies) {
            const auto local = ToBody(ray, body.placement);
            const double along = local ? MeetMesh(*local, *body.mesh) : Infinity;
            if (along >= nearest)
                continue;
            nearest = along;
            picked = PickedPoint{part.id,
                                 {ray.origin.x + along * ray.direction.x, ray.origin.y + along * ray.direction.y,
                                  ray.origin.z + along * ray.direction.z}};
        }
    }
    return picked;
}

std::vector<boost::uuids::uuid> PickFrame(const PlateModel& i_model, const Camera& i_camera, const QRectF& i_frame)
{
    std::vector<boost::uuids::uuid> parts;
    for (const PlatePart& part : i_model.GetParts()) {
        if (part.box.IsEmpty())
            continue;
        QPolygonF corners;
        for (int corner = 0; corner < 8; ++corner) {
            corners << i_camera.Project({(corner & 1) ? part.box.max.x : part.box.min.x,
                                         (corner & 2) ? part.box.max.y : part.box.min.y,
                                         (corner & 4) ? part.box.max.z : part.box.min.z});
        }
        if (i_frame.contains(corners.boundingRect().center()))
            parts.push_back(part.id);
    }
    return parts;
}

} // namespace Workbench
