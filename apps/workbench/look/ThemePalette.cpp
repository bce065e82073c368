#include "workbench/look/ThemePalette.h"

#include "workbench/look/WorkbenchStyle.h"

#include <QApplication>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace Workbench {

namespace {

struct Shades
{
    QRgb window, base, alternate, button, text, dimmed, highlight, onHighlight, link, light, mid, dark, toolTip;
};

constexpr Shades LightShades{0xfff3f5f8, 0xffffffff, 0xfff7f9fb, 0xffe9edf2, 0xff1b222c, 0xff5b6675, 0xff1f64b4,
                             0xffffffff, 0xff15549c, 0xffffffff, 0xffc3cbd5, 0xff98a3b1, 0xff222b37};
constexpr Shades DarkShades{0xff20252c, 0xff181c22, 0xff1d2229, 0xff2d343d, 0xffe8ecf1, 0xffa3aebc, 0xff3d83d6,
                            0xff0b0f14, 0xff7db7f5, 0xff3b444f, 0xff3f4853, 0xff11151a, 0xff333c47};

double GetLuminance(const QColor& i_color)
{
    const auto linear = [](double i_channel) {
        return i_channel <= 0.04045 ? i_channel / 12.92 : std::pow((i_channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(i_color.redF()) + 0.7152 * linear(i_color.greenF()) + 0.0722 * linear(i_color.blueF());
}

} // namespace

QPalette MakePalette(bool i_is_dark)
{
    const Shades& shades = i_is_dark ? DarkShades : LightShades;
    QPalette palette;
    const auto set = [&](QPalette::ColorRole i_role, QRgb i_color) {
        palette.setColor(i_role, QColor(i_color));
    };
    set(QPalette::Window, shades.window);
    set(QPalette::WindowText, shades.text);
    set(QPalette::Base, shades.base);
    set(QPalette::AlternateBase, shades.alternate);
    set(QPalette::Text, shades.text);
    set(QPalette::PlaceholderText, shades.dimmed);
    set(QPalette::Button, shades.button);
    set(QPalette::ButtonText, shades.text);
    set(QPalette::BrightText, 0xffffffff);
    set(QPalette::Highlight, shades.highlight);
    set(QPalette::HighlightedText, shades.onHighlight);
    set(QPalette::Link, shades.link);
    set(QPalette::LinkVisited, shades.link);
    set(QPalette::Light, shades.light);
    set(QPalette::Midlight, shades.button);
    set(QPalette::Mid, shades.mid);
    set(QPalette::Dark, shades.dark);
    set(QPalette::Shadow, 0xff000000);
    set(QPalette::ToolTipBase, shades.toolTip);
    set(QPalette::ToolTipText, 0xfff2f5f8);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(shades.dimmed));
    palette.setColor(QPalette::Disabled, QPalette::Highlight, QColor(shades.mid));
    palette.setColor(QPalette::Disabled, QPalette::HighlightedText, QColor(shades.text));
    return palette;
}

bool IsDark(const QPalette& i_palette)
{
    return i_palette.color(QPalette::Window).lightness() < i_palette.color(QPalette::WindowText).lightness();
}

StatusColors GetStatusColors(const QPalette& i_palette)
{
    if (IsDark(i_palette))
        return {QColor(0xff5fcf8b), QColor(0xff6cb2f5), QColor(0xfff2b84b), QColor(0xffff8a80)};
    return {QColor(0xff1b7a43), QColor(0xff1a5fb0), QColor(0xff8f5a00), QColor(0xffb3261e)};
}

double GetContrast(const QColor& i_left, const QColor& i_right)
{
    const auto [darker, lighter] = std::minmax({GetLuminance(i_left), GetLuminance(i_right)});
    return (lighter + 0.05) / (darker + 0.05);
}

void ApplyTheme(bool i_is_dark)
{
    QApplication::setStyle(new WorkbenchStyle);
    const QPalette palette = MakePalette(i_is_dark);
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
}

} // namespace Workbench
