#pragma once

#include <QString>

namespace Workbench {

/// In what lengths are shown; scenes and files keep mm.
enum class LengthUnit
{
    Millimetre,
    Inch,
};

/// Lengths as the user reads them, in the unit and the language of the moment.
///
/// Thread: any. All lengths that come in are in mm; digits behind the point are those of mm, inches have two more.
namespace LengthText {

/// Of the whole program, as its language is.
LengthUnit GetUnit();
void SetUnit(LengthUnit i_unit);

double FromMillimetres(double i_length);
double ToMillimetres(double i_length);

/// "mm" or "in".
QString GetUnitName();
/// Without the unit.
QString ShowNumber(double i_length, int i_digits);
QString Show(double i_length, int i_digits);
/// Width, depth, height.
QString ShowBox(double i_x, double i_y, double i_z, int i_digits);
/// A circular one by its diameter, which is its width, and its height.
QString ShowVolume(bool i_is_circular, double i_x, double i_y, double i_z);

} // namespace LengthText

} // namespace Workbench
