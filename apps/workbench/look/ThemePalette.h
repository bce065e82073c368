#pragma once

#include <QColor>
#include <QPalette>

namespace Workbench {

/// Colours that a palette has no role for. Each is told by a word or a mark as well.
struct StatusColors
{
    QColor good;
    QColor busy;
    QColor warning;
    QColor bad;
};

/// Colours of text keep a contrast of at least 4.5 : 1 on window and base, marks of 3 : 1.
QPalette MakePalette(bool i_is_dark);
bool IsDark(const QPalette& i_palette);
/// Of this palette's lightness.
StatusColors GetStatusColors(const QPalette& i_palette);
/// Relative luminance contrast, 1 to 21.
double GetContrast(const QColor& i_left, const QColor& i_right);

/// The same style everywhere in the application, with this palette.
void ApplyTheme(bool i_is_dark);

} // namespace Workbench
