#include "workbench/plate/PlateColours.h"

namespace Workbench {

PlateColours GetPlateColours(const QPalette& i_palette)
{
    PlateColours colours;
    const bool isDark = i_palette.color(QPalette::Window).lightness() < 128;
    const auto choose = [&](QRgb i_light, QRgb i_dark) {
        return QColor::fromRgba(isDark ? i_dark : i_light);
    };
    colours.backgroundTop = choose(0xFFF4F6F9, 0xFF2B3038);
    colours.backgroundBottom = choose(0xFFD9DFE7, 0xFF1A1D22);
    colours.plate = choose(0xFFFCFDFE, 0xFF363C46);
    colours.gridFine = choose(0xFFE3E8EE, 0xFF414852);
    colours.gridCoarse = choose(0xFFC3CBD6, 0xFF596270);
    colours.edge = choose(0xFF7C899A, 0xFF8793A5);
    colours.volume = choose(0x607C899A, 0x608793A5);
    colours.zone = choose(0xFFC2410C, 0xFFFB923C);
    colours.part = choose(0xFF8FA5BF, 0xFFA3B4C9);
    colours.selected = choose(0xFF2F7FE0, 0xFF5AA2F5);
    colours.problem = choose(0xFFD7362C, 0xFFF2665C);
    colours.shadow = choose(0x38303A48, 0x70000000);
    colours.text = choose(0xFF2B3440, 0xFFDCE3EC);
    colours.textSurface = choose(0xE6FFFFFF, 0xE621252B);
    colours.accent = choose(0xFF1D63BF, 0xFF7DB6FA);
    colours.axisX = choose(0xFFC0332B, 0xFFF07B73);
    colours.axisY = choose(0xFF24803C, 0xFF6CCB84);
    colours.axisZ = choose(0xFF1F5FBF, 0xFF7DB0FA);
    return colours;
}

} // namespace Workbench
