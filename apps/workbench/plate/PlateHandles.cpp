#include "workbench/plate/PlateHandles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Workbench {

namespace {

constexpr double Reach = 12;        ///< pixels round a knob that take hold of it
constexpr double LeastRadius = 45;  ///< pixels
constexpr double KnobDegrees = -45; ///< where the knob stands before a turn

} // namespace

PlateHandles PlateHandles::Make(const TavAM::BoundingBox& i_box, const Camera& i_camera, double i_turn)
{
    PlateHandles handles;
    if (i_box.IsEmpty())
        return handles;
    const double width = i_box.max.x - i_box.min.x;
    const double depth = i_box.max.y - i_box.min.y;
    handles.isValid = true;
    handles.centre = {(i_box.min.x + i_box.max.x) / 2, (i_box.min.y + i_box.max.y) / 2, std::max(i_box.min.z, 0.0)};
    handles.radius = std::max(std::hypot(width, depth) / 2 * 1.1, LeastRadius * i_camera.GetMillimetresPerPixel());
    const auto at = [&](double i_degrees) {
        const double angle = i_degrees * std::numbers::pi / 180;
        return i_camera.Project({handles.centre.x + handles.radius * std::cos(angle),
                                 handles.centre.y + handles.radius * std::sin(angle), handles.centre.z});
    };
    for (int degrees = 0; degrees <= 360; degrees += 5)
        handles.ring << at(degrees);
    handles.rotateKnob = at(KnobDegrees + i_turn);
    const auto corner = [&](int i_number) {
        return i_camera.Project({(i_number & 1) ? i_box.max.x : i_box.min.x, (i_number & 2) ? i_box.max.y : i_box.min.y,
                                 (i_number & 4) ? i_box.max.z : i_box.min.z});
    };
    for (int number = 0; number < 8; ++number) {
        for (const int axis : {1, 2, 4}) {
            if (!(number & axis))
                handles.edges << QLineF(corner(number), corner(number | axis));
        }
    }
    // In front, where it is seen from most sides.
    handles.scaleKnob = corner(1 | 4);
    // Very small parts would hide one knob behind the other.
    if (QLineF(handles.scaleKnob, handles.rotateKnob).length() < 2 * Reach)
        handles.scaleKnob += QPointF(0, -3 * Reach);
    return handles;
}

PlateHandles::Kind PlateHandles::FindAt(const QPointF& i_pixel) const
{
    if (!isValid)
        return Kind::None;
    if (QLineF(i_pixel, rotateKnob).length() <= Reach)
        return Kind::Rotate;
    return QLineF(i_pixel, scaleKnob).length() <= Reach ? Kind::Scale : Kind::None;
}

} // namespace Workbench
