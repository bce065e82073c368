#include "tavsdk/Text.h"

#include "tavsdk/Utf8.h"

#include <array>
#include <charconv>
#include <cmath>

namespace TavSDK {

std::string Quote(std::string_view i_text, std::size_t i_longest)
{
    const bool isCut = i_text.size() > i_longest;
    // One more: what is cut there in the middle of a character goes with it.
    std::string shown = ReplaceInvalid(isCut ? i_text.substr(0, i_longest + 1) : i_text);
    if (isCut)
        shown.resize(CutUtf8(shown, i_longest).size());
    for (char& character : shown) {
        const auto code = static_cast<unsigned char>(character);
        character = code < 0x20 || code == 0x7F ? '?' : character;
    }
    return '\'' + shown + (isCut ? "…'" : "'");
}

std::string NumberToText(double i_number)
{
    std::string text;
    AppendNumber(i_number, text);
    return text;
}

void AppendNumber(double i_number, std::string& io_text)
{
    // An exponent only where people would write one too; some readers of numbers take "1e+05" for 1.
    const double size = std::abs(i_number);
    const bool isPlain = i_number == 0 || (size >= 1e-4 && size < 1e15);
    std::array<char, 32> digits;
    char* const end = digits.data() + digits.size();
    io_text.append(digits.data(), (isPlain ? std::to_chars(digits.data(), end, i_number, std::chars_format::fixed)
                                           : std::to_chars(digits.data(), end, i_number))
                                      .ptr);
}

std::optional<double> ParseNumber(std::string_view i_text)
{
    double number = 0;
    const auto [end, error] = std::from_chars(i_text.data(), i_text.data() + i_text.size(), number);
    if (error != std::errc() || end != i_text.data() + i_text.size() || !std::isfinite(number))
        return std::nullopt;
    return number;
}

} // namespace TavSDK
