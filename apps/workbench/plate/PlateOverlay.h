#pragma once

#include "workbench/plate/PlateColours.h"

class QPainter;

namespace Workbench {

class Camera;
class PlateInteraction;

/// What is written and marked over the picture of a plate, however the picture was made: numbers along the bed's edges,
/// the axes at the origin, marks on parts with problems, the handles and size of the selected parts, the frame that is
/// spanned, and on a plate without parts what to do.
/// \param i_camera that the picture was made with.
/// Thread: UI thread.
void PaintPlateOverlay(QPainter& io_painter, const PlateInteraction& i_interaction, const Camera& i_camera,
                       const PlateColours& i_colours);

} // namespace Workbench
