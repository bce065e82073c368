#include "workbench/base/LengthText.h"

#include <QCoreApplication>
#include <QLocale>

#include <atomic>
#include <cmath>

namespace Workbench::LengthText {

namespace {

constexpr double MillimetresPerInch = 25.4;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::LengthText)
};

std::atomic<LengthUnit> TheUnit = LengthUnit::Millimetre;

bool IsInch()
{
    return TheUnit == LengthUnit::Inch;
}

} // namespace

LengthUnit GetUnit()
{
    return TheUnit;
}

void SetUnit(LengthUnit i_unit)
{
    TheUnit = i_unit;
}

double FromMillimetres(double i_length)
{
    return IsInch() ? i_length / MillimetresPerInch : i_length;
}

double ToMillimetres(double i_length)
{
    return IsInch() ? i_length * MillimetresPerInch : i_length;
}

QString GetUnitName()
{
    return IsInch() ? Texts::tr("in") : Texts::tr("mm");
}

QString ShowNumber(double i_length, int i_digits)
{
    return QLocale().toString(FromMillimetres(i_length), 'f', IsInch() ? i_digits + 2 : i_digits);
}

QString Show(double i_length, int i_digits)
{
    return Texts::tr("%1 %2", "length and unit").arg(ShowNumber(i_length, i_digits), GetUnitName());
}

QString ShowBox(double i_x, double i_y, double i_z, int i_digits)
{
    return Texts::tr("%1 × %2 × %3 %4", "three lengths and their unit")
        .arg(ShowNumber(i_x, i_digits), ShowNumber(i_y, i_digits), ShowNumber(i_z, i_digits), GetUnitName());
}

QString ShowVolume(bool i_is_circular, double i_x, double i_y, double i_z)
{
    const auto show = [](double i_length) {
        const bool isWhole = std::abs(i_length - std::round(i_length)) < 1e-6;
        return ShowNumber(i_length, isWhole ? 0 : 1);
    };
    if (i_is_circular)
        return Texts::tr("⌀ %1 × %2 %3", "diameter, height and their unit").arg(show(i_x), show(i_z), GetUnitName());
    return Texts::tr("%1 × %2 × %3 %4", "three lengths and their unit")
        .arg(show(i_x), show(i_y), show(i_z), GetUnitName());
}

} // namespace Workbench::LengthText
