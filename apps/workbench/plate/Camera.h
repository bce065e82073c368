#pragma once

#include "tavam/Geometry.h"

#include <QMatrix4x4>
#include <QPointF>
#include <QSize>

#include <array>
#include <optional>

namespace Workbench {

enum class StandardView
{
    Perspective,
    Front,
    Back,
    Left,
    Right,
    Top,
    Bottom,
};

/// A half line from the eye into the scene.
struct Ray
{
    TavAM::Point3d origin;
    TavAM::Point3d direction; ///< not of length one
};

/// From where the plate is looked at: round a point, from a direction, at a distance.
/// Units: mm, degrees, pixels from the upper left corner of the view.
class Camera
{
public:
    /// A flat camera looks straight down without perspective, whatever it is told.
    explicit Camera(bool i_is_flat = false)
        : _isFlat(i_is_flat)
    {}

    bool IsFlat() const { return _isFlat; }
    void SetViewport(const QSize& i_size);
    const QSize& GetViewport() const { return _size; }

    void SetStandardView(StandardView i_view);
    /// By a drag of so many pixels.
    void Orbit(const QPointF& i_pixels);
    void Pan(const QPointF& i_pixels);
    /// What is under the pixel stays there. \param i_factor below 1 comes nearer.
    void Zoom(double i_factor, const QPointF& i_at);
    /// All of the box, with a margin.
    void Fit(const TavAM::BoundingBox& i_box);

    /// Where the eye is, to be kept: point, angles, reach.
    using Place = std::array<double, 6>;
    Place GetPlace() const { return {_target.x, _target.y, _target.z, _yaw, _pitch, _reach}; }
    /// False, and nothing changed, for a place that no camera can have.
    bool SetPlace(const Place& i_place);

    QMatrix4x4 GetView() const;
    QMatrix4x4 GetProjection() const;
    /// Z is the depth, -1 to 1 between the near and the far plane; behind the eye it is above 1.
    QVector3D ProjectWithDepth(const TavAM::Point3d& i_point) const;
    QPointF Project(const TavAM::Point3d& i_point) const;
    Ray GetRay(const QPointF& i_pixel) const;
    /// Where the pixel meets a level plane; empty (false) when it looks past it.
    bool FindOnLevel(const QPointF& i_pixel, double i_z, TavAM::Point3d& o_point) const;
    /// At the point that is looked at.
    double GetMillimetresPerPixel() const;
    bool IsFromBelow() const { return !_isFlat && _pitch < 0; }

private:
    QMatrix4x4 _GetRotation() const;
    double _GetDistance() const;
    const QMatrix4x4& _GetViewProjection() const;

    bool _isFlat;
    QSize _size{1, 1};
    TavAM::Point3d _target;
    double _yaw = -30;                                 ///< about z; 0 looks along +y
    double _pitch = 32;                                ///< above the horizon
    double _reach = 300;                               ///< half the height of what is seen at the target, mm
    mutable std::optional<QMatrix4x4> _viewProjection; ///< empty after every change
};

} // namespace Workbench
