#include "tavsdk/Utf8.h"

#include <algorithm>
#include <cstddef>

namespace TavSDK {

static_assert(sizeof(wchar_t) == sizeof(char32_t), "wide strings hold one character per unit");

namespace {

constexpr char32_t NoCharacter = 0xFFFFFFFF;

/// The character at the position, which moves behind it; NoCharacter when the bytes there are none.
char32_t Next(std::string_view i_text, std::size_t& io_position)
{
    const auto first = static_cast<unsigned char>(i_text[io_position]);
    if (first < 0x80) {
        ++io_position;
        return first;
    }
    const unsigned length = first >= 0xF0 && first < 0xF8 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first >= 0xF8 || i_text.size() - io_position < length)
        return NoCharacter;
    char32_t character = first & (0x7FU >> length);
    for (unsigned index = 1; index < length; ++index) {
        const auto next = static_cast<unsigned char>(i_text[io_position + index]);
        if ((next & 0xC0U) != 0x80U)
            return NoCharacter;
        character = (character << 6U) | (next & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < smallest[length] || !IsCharacter(character))
        return NoCharacter;
    io_position += length;
    return character;
}

// Texts are plain ASCII nearly always; these two loops the compiler can vectorize.

bool IsAscii(std::string_view i_text)
{
    unsigned char bits = 0;
    for (const char byte : i_text)
        bits |= static_cast<unsigned char>(byte);
    return bits < 0x80;
}

bool IsAscii(std::wstring_view i_text)
{
    char32_t bits = 0;
    for (const wchar_t unit : i_text)
        bits |= static_cast<char32_t>(unit);
    return bits < 0x80;
}

} // namespace

bool IsCharacter(char32_t i_character)
{
    return i_character <= 0x10FFFF && (i_character < 0xD800 || i_character > 0xDFFF);
}

void AppendUtf8(char32_t i_character, std::string& io_text)
{
    const auto append = [&io_text](char32_t i_byte) {
        io_text += static_cast<char>(i_byte);
    };
    if (i_character < 0x80) {
        append(i_character);
        return;
    }
    if (i_character < 0x800) {
        append(0xC0U | (i_character >> 6U));
    } else {
        if (i_character < 0x10000) {
            append(0xE0U | (i_character >> 12U));
        } else {
            append(0xF0U | (i_character >> 18U));
            append(0x80U | ((i_character >> 12U) & 0x3FU));
        }
        append(0x80U | ((i_character >> 6U) & 0x3FU));
    }
    append(0x80U | (i_character & 0x3FU));
}

void AppendUtf8(std::wstring_view i_text, std::string& io_text)
{
    if (IsAscii(i_text)) {
        const std::size_t size = io_text.size();
        io_text.resize(size + i_text.size());
        std::transform(i_text.begin(), i_text.end(), io_text.begin() + static_cast<std::ptrdiff_t>(size),
                       [](wchar_t i_unit) { return static_cast<char>(i_unit); });
        return;
    }
    for (const wchar_t unit : i_text) {
        const auto character = static_cast<char32_t>(unit);
        AppendUtf8(IsCharacter(character) ? character : U'\uFFFD', io_text);
    }
}

std::string ToUtf8(std::wstring_view i_text)
{
    std::string text;
    AppendUtf8(i_text, text);
    return text;
}

std::optional<std::wstring> FromUtf8(std::string_view i_text)
{
    if (IsAscii(i_text))
        return std::wstring(i_text.begin(), i_text.end());
    std::wstring text;
    text.reserve(i_text.size());
    for (std::size_t position = 0; position < i_text.size();) {
        const char32_t character = Next(i_text, position);
        if (character == NoCharacter)
            return std::nullopt;
        text += static_cast<wchar_t>(character);
    }
    return text;
}

std::string ReplaceInvalid(std::string_view i_text)
{
    std::string text;
    for (std::size_t position = 0; position < i_text.size();) {
        const std::size_t begin = position;
        if (Next(i_text, position) != NoCharacter) {
            text += i_text.substr(begin, position - begin);
        } else {
            AppendUtf8(U'\uFFFD', text);
            ++position;
        }
    }
    return text;
}

std::wstring ToWide(std::string_view i_text)
{
    auto text = FromUtf8(i_text);
    return text ? *std::move(text) : *FromUtf8(ReplaceInvalid(i_text));
}

bool IsUtf8(std::string_view i_text)
{
    if (IsAscii(i_text))
        return true;
    for (std::size_t position = 0; position < i_text.size();) {
        if (Next(i_text, position) == NoCharacter)
            return false;
    }
    return true;
}

bool IsXmlCharacter(char32_t i_character)
{
    if (i_character < 0x20)
        return i_character == '\t' || i_character == '\n' || i_character == '\r';
    return IsCharacter(i_character) && i_character != 0xFFFE && i_character != 0xFFFF;
}

std::string_view CutUtf8(std::string_view i_text, std::size_t i_longest)
{
    std::size_t end = std::min(i_text.size(), i_longest);
    const auto isWithin = [&] {
        return end > 0 && end < i_text.size() && (static_cast<unsigned char>(i_text[end]) & 0xC0U) == 0x80U;
    };
    while (isWithin())
        --end;
    return i_text.substr(0, end);
}

} // namespace TavSDK
