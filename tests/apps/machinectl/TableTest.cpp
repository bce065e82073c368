#include "machinectl/Table.h"
#include "machinectl/TextWidth.h"
#include "support/Test.h"

namespace {

using namespace MachineCtl;

std::string Clean(const QString& i_text)
{
    return CleanText(i_text).toStdString();
}

TEST(TableTest, WhatCouldMoveTheCursorOrTurnTextAroundIsShownAsOneCharacter)
{
    EXPECT_EQ(Clean(QStringLiteral("plate \u00e9 \u65e5\u672c \u05d0\u05d1")),
              "plate \u00e9 \u65e5\u672c \u05d0\u05d1");
    for (const char16_t hostile : {u'\x1b', u'\n', u'\t', u'\r', u'\b', u'\x7f', u'\x9b', u'\u202e', u'\u2066',
                                   u'\u200f', u'\u2028', u'\ufeff', u'\xd800', u'\ufffe'}) {
        const QString text = QLatin1Char('a') + QString(QChar(hostile)) + QLatin1Char('b');
        EXPECT_EQ(Clean(text), "a\ufffdb") << static_cast<int>(hostile);
    }
}

TEST(TableTest, CellsAreCountedAndCutByWhatIsSeen)
{
    const struct
    {
        QString text;
        int width;
        QString cutToFive;
    } rows[] = {
        {QStringLiteral("abcde"), 5, QStringLiteral("abcde")},
        {QStringLiteral("abcdef"), 6, QStringLiteral("abcd\u2026")},
        {QStringLiteral("\u65e5\u672c\u8a9e"), 6, QStringLiteral("\u65e5\u672c\u2026")},
        {QStringLiteral("a\u65e5\u672c\u8a9e"), 7, QStringLiteral("a\u65e5\u2026")},
        {QStringLiteral("e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"), 6,
         QStringLiteral("e\u0301e\u0301e\u0301e\u0301\u2026")},
        {QString::fromUcs4(U"\U0001F5A8\U0001F600\U0001F600\U0001F600"), 7, QString()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(GetWidth(row.text), row.width) << row.text.toStdString();
        const auto cut = CutText(row.text, 5);
        EXPECT_LE(GetWidth(cut), 5);
        if (!row.cutToFive.isEmpty()) {
            EXPECT_EQ(cut.toStdString(), row.cutToFive.toStdString());
        }
    }
    EXPECT_EQ(CutText(QStringLiteral("abc"), 0).toStdString(), "");
}

Table MakeTable()
{
    Table table({{QStringLiteral("Job"), 3, 9, true}, {QStringLiteral("Name"), 6, 8}, {QStringLiteral("Owner"), 5, 1}});
    table.AddRow({QStringLiteral("7"), {QStringLiteral("a long name of a job"), Look::Bad}, QStringLiteral("olga")});
    table.AddRow({QStringLiteral("1234"), QStringLiteral("\u65e5\u672c\u8a9e\u65e5\u672c\u8a9e"), QString()});
    return table;
}

TEST(TableTest, WithoutATerminalNothingIsCutAndColumnsStandUnderEachOther)
{
    EXPECT_EQ(MakeTable().Format(0, false).toStdString(), " Job  Name                  Owner\n"
                                                          "   7  a long name of a job  olga\n"
                                                          "1234  \u65e5\u672c\u8a9e\u65e5\u672c\u8a9e\n");
    EXPECT_THAT(MakeTable().Format(0, true).toStdString(), HasSubstr("\x1b[31ma long name of a job\x1b[0m  olga"));
}

TEST(TableTest, NoLineIsWiderThanTheTerminalAndTheLeastImportantColumnGoesFirst)
{
    for (int width = 1; width <= 60; ++width) {
        const auto lines = MakeTable().Format(width, false).split(QLatin1Char('\n'));
        for (const auto& line : lines) {
            EXPECT_LE(GetWidth(line), width) << line.toStdString();
            EXPECT_FALSE(line.endsWith(QLatin1Char(' ')));
        }
        EXPECT_EQ(lines.size(), 4);
        EXPECT_EQ(lines.front().contains(QStringLiteral("Owner")), width >= 18) << width;
        EXPECT_EQ(lines.front().contains(QStringLiteral("Name")), width >= 11) << width;
    }
}

} // namespace
