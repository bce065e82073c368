#include "machinectl/TextWidth.h"

#include <clocale>
#include <cwchar>

#include <locale.h>

namespace MachineCtl {

namespace {

constexpr char32_t Replacement = 0xfffd;

bool IsHostile(char32_t i_character)
{
    if (i_character < 0x20 || (i_character >= 0x7f && i_character < 0xa0))
        return true;
    switch (i_character) {
    case 0x061c: // marks and overrides of the direction
    case 0x200e:
    case 0x200f:
    case 0x2028: // separators of lines and paragraphs
    case 0x2029:
    case 0xfeff:
        return true;
    default:
        break;
    }
    const bool isDirection =
        (i_character >= 0x202a && i_character <= 0x202e) || (i_character >= 0x2066 && i_character <= 0x2069);
    const bool isTag = i_character >= 0xe0000 && i_character <= 0xe007f;
    const bool isSurrogate = i_character >= 0xd800 && i_character <= 0xdfff;
    const bool isNothing = (i_character & 0xfffe) == 0xfffe || i_character > 0x10ffff;
    return isDirection || isTag || isSurrogate || isNothing;
}

/// Cells of one character, whatever locale the user has.
int GetCells(char32_t i_character)
{
    static const locale_t mgp_locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (i_character < 0x7f || !mgp_locale)
        return 1;
    const auto former = ::uselocale(mgp_locale);
    const int cells = ::wcwidth(static_cast<wchar_t>(i_character));
    ::uselocale(former);
    // Newer characters than the system knows are mostly pictures.
    return cells < 0 ? 2 : cells;
}

} // namespace

QString CleanText(const QString& i_text)
{
    QString clean;
    for (const auto character : i_text.toUcs4()) {
        const char32_t shown = IsHostile(character) ? Replacement : character;
        clean += QString::fromUcs4(&shown, 1);
    }
    return clean;
}

QString CleanText(const std::string& i_text)
{
    return CleanText(QString::fromStdString(i_text));
}

int GetWidth(const QString& i_text)
{
    int width = 0;
    for (const auto character : i_text.toUcs4())
        width += GetCells(character);
    return width;
}

QString CutText(const QString& i_text, int i_width)
{
    if (GetWidth(i_text) <= i_width)
        return i_text;
    if (i_width <= 0)
        return {};
    QString cut;
    int width = 0;
    for (const auto character : i_text.toUcs4()) {
        const int cells = GetCells(character);
        if (width + cells > i_width - 1)
            break;
        const char32_t one = character;
        cut += QString::fromUcs4(&one, 1);
        width += cells;
    }
    return cut + QStringLiteral("…");
}

QStringList WrapText(const QString& i_text, int i_width)
{
    QStringList lines;
    for (const auto& word : i_text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (lines.isEmpty() || GetWidth(lines.back()) + 1 + GetWidth(word) > i_width)
            lines.append(word);
        else
            lines.back() += QLatin1Char(' ') + word;
    }
    return lines;
}

} // namespace MachineCtl
