#pragma once

#include "workbench/plate/Camera.h"

#include "tavam/Geometry.h"

#include <QLineF>
#include <QPointF>
#include <QPolygonF>
#include <QVector>

namespace Workbench {

/// What the selected parts are turned and scaled with: a ring round them on the plate with a knob, and their box with a
/// square at a corner. Units: pixels.
struct PlateHandles
{
    enum class Kind
    {
        None,
        Rotate,
        Scale,
    };

    bool isValid = false;
    QPolygonF ring;
    QVector<QLineF> edges; ///< of the box
    QPointF rotateKnob;
    QPointF scaleKnob;
    TavAM::Point3d centre; ///< of the ring, mm
    double radius = 0;     ///< of the ring, mm

    /// \param i_turn of the knob, degrees.
    static PlateHandles Make(const TavAM::BoundingBox& i_box, const Camera& i_camera, double i_turn);
    Kind FindAt(const QPointF& i_pixel) const;
};

} // namespace Workbench
