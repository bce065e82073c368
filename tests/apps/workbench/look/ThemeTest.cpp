#include "workbench/look/ThemePalette.h"

#include <gtest/gtest.h>

namespace {

using namespace Workbench;

TEST(ThemeTest, TextAndMarksCanBeReadInBothThemes)
{
    for (const bool is_dark : {false, true}) {
        const QPalette palette = MakePalette(is_dark);
        EXPECT_EQ(IsDark(palette), is_dark);
        const auto contrast = [&](QPalette::ColorRole i_text, QPalette::ColorRole i_ground, auto i_group) {
            return GetContrast(palette.color(i_group, i_text), palette.color(i_ground));
        };
        const std::pair<QPalette::ColorRole, QPalette::ColorRole> pairs[] = {
            {QPalette::WindowText, QPalette::Window},
            {QPalette::Text, QPalette::Base},
            {QPalette::Text, QPalette::AlternateBase},
            {QPalette::ButtonText, QPalette::Button},
            {QPalette::PlaceholderText, QPalette::Base},
            {QPalette::PlaceholderText, QPalette::Window},
            {QPalette::HighlightedText, QPalette::Highlight},
            {QPalette::ToolTipText, QPalette::ToolTipBase},
            {QPalette::Link, QPalette::Base}};
        for (const auto& [text, ground] : pairs)
            EXPECT_GE(contrast(text, ground, QPalette::Active), 4.5) << is_dark << text << ground;
        EXPECT_GE(contrast(QPalette::Highlight, QPalette::Window, QPalette::Active), 3) << is_dark; // of the focus
        const StatusColors status = GetStatusColors(palette);
        for (const QColor& color : {status.good, status.busy, status.warning, status.bad}) {
            EXPECT_GE(GetContrast(color, palette.color(QPalette::Window)), 4.5)
                << is_dark << color.name().toStdString();
            EXPECT_GE(GetContrast(color, palette.color(QPalette::Base)), 4.5) << is_dark << color.name().toStdString();
        }
    }
}

} // namespace
