#include "workbench/plate/Camera.h"

#include <QVector4D>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Workbench {

namespace {

constexpr double HalfAngle = 14; ///< degrees, of the view's height
constexpr double SmallestReach = 0.2;
constexpr double LargestReach = 20'000;
constexpr double DegreesPerPixel = 0.4;
constexpr double Margin = 1.12;

double Tangent()
{
    return std::tan(HalfAngle * std::numbers::pi / 180);
}

QVector3D ToVector(const TavAM::Point3d& i_point)
{
    return {static_cast<float>(i_point.x), static_cast<float>(i_point.y), static_cast<float>(i_point.z)};
}

TavAM::Point3d ToPoint(const QVector3D& i_vector)
{
    return {static_cast<double>(i_vector.x()), static_cast<double>(i_vector.y()), static_cast<double>(i_vector.z())};
}

} // namespace

void Camera::SetViewport(const QSize& i_size)
{
    _viewProjection.reset();
    _size = i_size.expandedTo(QSize(1, 1));
}

void Camera::SetStandardView(StandardView i_view)
{
    _viewProjection.reset();
    struct Row
    {
        double yaw;
        double pitch;
    };
    constexpr Row rows[] = {{-30, 32}, {0, 0}, {180, 0}, {-90, 0}, {90, 0}, {0, 90}, {0, -90}};
    _yaw = rows[static_cast<std::size_t>(i_view)].yaw;
    _pitch = rows[static_cast<std::size_t>(i_view)].pitch;
}

void Camera::Orbit(const QPointF& i_pixels)
{
    _viewProjection.reset();
    _yaw = std::remainder(_yaw - i_pixels.x() * DegreesPerPixel, 360.0);
    _pitch = std::clamp(_pitch + i_pixels.y() * DegreesPerPixel, -90.0, 90.0);
}

void Camera::Pan(const QPointF& i_pixels)
{
    _viewProjection.reset();
    const QMatrix4x4 back = _GetRotation().transposed();
    const auto step = static_cast<float>(GetMillimetresPerPixel());
    const QVector3D by =
        back.mapVector(QVector3D(-static_cast<float>(i_pixels.x()) * step, static_cast<float>(i_pixels.y()) * step, 0));
    _target = ToPoint(ToVector(_target) + by);
}

void Camera::Zoom(double i_factor, const QPointF& i_at)
{
    _viewProjection.reset();
    const double former = _reach;
    _reach = std::clamp(_reach * i_factor, SmallestReach, LargestReach);
    const QPointF fromCentre = i_at - QPointF(_size.width() / 2.0, _size.height() / 2.0);
    Pan(fromCentre * (1 - former / _reach));
}

void Camera::Fit(const TavAM::BoundingBox& i_box)
{
    _viewProjection.reset();
    if (i_box.IsEmpty())
        return;
    _target = {(i_box.min.x + i_box.max.x) / 2, (i_box.min.y + i_box.max.y) / 2, (i_box.min.z + i_box.max.z) / 2};
    const QMatrix4x4 rotation = _GetRotation();
    const double aspect = static_cast<double>(_size.width()) / _size.height();
    double reach = SmallestReach;
    for (int corner = 0; corner < 8; ++corner) {
        const TavAM::Point3d point{(corner & 1) ? i_box.max.x : i_box.min.x, (corner & 2) ? i_box.max.y : i_box.min.y,
                                   (corner & 4) ? i_box.max.z : i_box.min.z};
        const QVector3D at = rotation.mapVector(ToVector(point) - ToVector(_target));
        const double across =
            std::max(std::abs(static_cast<double>(at.y())), std::abs(static_cast<double>(at.x())) / aspect);
        // A corner that is nearer to the eye looks larger.
        reach = std::max(reach, Margin * across + (_isFlat ? 0 : static_cast<double>(at.z()) * Tangent()));
    }
    _reach = std::clamp(reach, SmallestReach, LargestReach);
}

bool Camera::SetPlace(const Place& i_place)
{
    const auto& [x, y, z, yaw, pitch, reach] = i_place;
    const auto isNear = [](double i_length) {
        return std::abs(i_length) <= LargestReach;
    };
    // A number that is none is in no range.
    if (!isNear(x) || !isNear(y) || !isNear(z) || !(std::abs(yaw) <= 360) || !(std::abs(pitch) <= 90) ||
        !(reach >= SmallestReach && reach <= LargestReach))
        return false;
    _target = {x, y, z};
    _yaw = yaw;
    _pitch = pitch;
    _reach = reach;
    _viewProjection.reset();
    return true;
}

QMatrix4x4 Camera::_GetRotation() const
{
    QMatrix4x4 rotation;
    if (_isFlat)
        return rotation;
    rotation.rotate(static_cast<float>(_pitch - 90), 1, 0, 0);
    rotation.rotate(static_cast<float>(-_yaw), 0, 0, 1);
    return rotation;
}

double Camera::_GetDistance() const
{
    return _reach / Tangent();
}

QMatrix4x4 Camera::GetView() const
{
    QMatrix4x4 view;
    view.translate(0, 0, static_cast<float>(-_GetDistance()));
    view *= _GetRotation();
    view.translate(-ToVector(_target));
    return view;
}

QMatrix4x4 Camera::GetProjection() const
{
    const double distance = _GetDistance();
    // What stands on the largest plates stays between the planes from wherever it is looked at.
    const double span = std::max(4 * _reach, 3000.0);
    const double aspect = static_cast<double>(_size.width()) / _size.height();
    QMatrix4x4 projection;
    if (_isFlat) {
        const auto reach = static_cast<float>(_reach);
        const auto width = static_cast<float>(_reach * aspect);
        projection.ortho(-width, width, -reach, reach, static_cast<float>(distance - span),
                         static_cast<float>(distance + span));
    } else {
        const double nearest = std::max(distance - span, distance / 50);
        projection.perspective(static_cast<float>(2 * HalfAngle), static_cast<float>(aspect),
                               static_cast<float>(nearest), static_cast<float>(distance + span));
    }
    return projection;
}

const QMatrix4x4& Camera::_GetViewProjection() const
{
    if (!_viewProjection)
        _viewProjection = GetProjection() * GetView();
    return *_viewProjection;
}

QVector3D Camera::ProjectWithDepth(const TavAM::Point3d& i_point) const
{
    const QVector4D clip = _GetViewProjection() * QVector4D(ToVector(i_point), 1);
    if (clip.w() <= 0)
        return {0, 0, 2};
    return {(clip.x() / clip.w() + 1) / 2 * static_cast<float>(_size.width()),
            (1 - clip.y() / clip.w()) / 2 * static_cast<float>(_size.height()), clip.z() / clip.w()};
}

QPointF Camera::Project(const TavAM::Point3d& i_point) const
{
    return ProjectWithDepth(i_point).toPointF();
}

Ray Camera::GetRay(const QPointF& i_pixel) const
{
    const QMatrix4x4 back = _GetRotation().transposed();
    const double step = GetMillimetresPerPixel();
    const QVector3D at(static_cast<float>((i_pixel.x() - _size.width() / 2.0) * step),
                       static_cast<float>((_size.height() / 2.0 - i_pixel.y()) * step), 0);
    const auto distance = static_cast<float>(_GetDistance());
    const QVector3D eye = _isFlat ? at + QVector3D(0, 0, distance + 1e4F) : QVector3D(0, 0, distance);
    return {ToPoint(ToVector(_target) + back.mapVector(eye)), ToPoint(back.mapVector(at - eye))};
}

bool Camera::FindOnLevel(const QPointF& i_pixel, double i_z, TavAM::Point3d& o_point) const
{
    const Ray ray = GetRay(i_pixel);
    if (std::abs(ray.direction.z) < 1e-6)
        return false;
    const double t = (i_z - ray.origin.z) / ray.direction.z;
    // Near the horizon a pixel would be metres.
    if (!(t > 0) || t > 5)
        return false;
    o_point = {ray.origin.x + t * ray.direction.x, ray.origin.y + t * ray.direction.y, i_z};
    return true;
}

double Camera::GetMillimetresPerPixel() const
{
    return 2 * _reach / _size.height();
}

} // namespace Workbench
