#pragma once

#include "workbench/plate/Camera.h"

#include <boost/uuid/uuid.hpp>

#include <QRectF>

#include <optional>
#include <vector>

namespace Workbench {

class PlateModel;

struct PickedPoint
{
    boost::uuids::uuid part = {};
    TavAM::Point3d at; ///< mm
};

/// The nearest surface that the pixel shows; empty when it shows none.
std::optional<PickedPoint> PickPart(const PlateModel& i_model, const Camera& i_camera, const QPointF& i_pixel);
/// The parts whose middle, as it is seen, lies in the rectangle; in the scene's order. \param i_frame pixels.
std::vector<boost::uuids::uuid> PickFrame(const PlateModel& i_model, const Camera& i_camera, const QRectF& i_frame);

} // namespace Workbench
