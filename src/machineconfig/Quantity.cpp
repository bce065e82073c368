#include "machineconfig/Quantity.h"

#include "tavsdk/Utf8.h"

#include <array>
#include <charconv>
#include <cmath>

namespace MachineService::ConfigurationFormat {

namespace {

std::string ToText(double i_number)
{
    std::array<char, 32> digits = {};
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), i_number).ptr};
}

} // namespace

void CheckNumber(double i_number, const Quantity& i_quantity)
{
    if (std::isnan(i_number))
        throw FieldError("is not a number");
    const bool isInRange = i_number <= i_quantity.max &&
                           (i_quantity.isMinAllowed ? i_number >= i_quantity.min : i_number > i_quantity.min);
    if (isInRange)
        return;
    throw FieldError("is " + ToText(i_number) + ", which is not " + (i_quantity.isMinAllowed ? "from " : "more than ") +
                     ToText(i_quantity.min) + (i_quantity.isMinAllowed ? " to " : " and up to ") +
                     ToText(i_quantity.max) + " " + std::string(i_quantity.unit));
}

double ParseNumber(std::string_view i_text, const Quantity& i_quantity)
{
    std::string_view text = Trimmed(i_text);
    // Schemas allow a plus sign, from_chars does not.
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        throw FieldError("is \"" + std::string(text.substr(0, 40)) + "\", which is no number");
    CheckNumber(number, i_quantity);
    return number;
}

std::string EncodeText(const std::wstring& i_text)
{
    std::string text;
    text.reserve(i_text.size());
    for (const wchar_t unit : i_text) {
        const auto character = static_cast<char32_t>(unit);
        if (!TavSDK::IsXmlCharacter(character)) {
            std::array<char, 8> digits = {};
            const auto value = static_cast<unsigned long>(character);
            char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
            throw FieldError("holds the character with the hexadecimal number " + std::string(digits.data(), end) +
                             ", which XML cannot carry");
        }
        TavSDK::AppendUtf8(character, text);
    }
    return text;
}

std::string_view Trimmed(std::string_view i_text)
{
    constexpr std::string_view Blanks = " \t\r\n";
    const std::size_t begin = i_text.find_first_not_of(Blanks);
    if (begin == std::string_view::npos)
        return {};
    return i_text.substr(begin, i_text.find_last_not_of(Blanks) - begin + 1);
}

} // namespace MachineService::ConfigurationFormat
