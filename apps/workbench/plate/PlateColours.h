#pragma once

#include <QColor>
#include <QPalette>

namespace Workbench {

/// What the plate is painted with, made for light or for dark surroundings. Texts and marks stand out from the
/// background by 4.5 to 1 or more.
struct PlateColours
{
    QColor backgroundTop;
    QColor backgroundBottom;
    QColor plate;
    QColor gridFine;
    QColor gridCoarse;
    QColor edge;   ///< of the plate
    QColor volume; ///< lines of the build volume
    QColor zone;
    QColor part;
    QColor selected;
    QColor problem;
    QColor shadow;
    QColor text;
    QColor textSurface; ///< behind texts that stand over parts
    QColor accent;      ///< handles and frames
    QColor axisX;
    QColor axisY;
    QColor axisZ;
};

/// By how light the palette's window is.
PlateColours GetPlateColours(const QPalette& i_palette);

} // namespace Workbench
