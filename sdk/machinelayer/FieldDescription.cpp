#include "machinelayer/FieldDescription.h"

#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace MachineLayer {

namespace {

/// As schemas have numbers: a plus sign may stand before them, which from_chars does not take.
std::string_view TrimNumber(std::string_view i_text)
{
    std::string_view text = Trim(i_text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

/// Of a decimal number that a double cannot hold: is it too near to zero, rather than too far from it?
bool IsTiny(std::string_view i_number)
{
    const std::size_t exponentMark = std::min(i_number.find_first_of("eE"), i_number.size());
    const std::string_view mantissa = i_number.substr(0, exponentMark);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t digit = mantissa.find_first_of("123456789");
    long long exponent = 0;
    if (exponentMark < i_number.size()) {
        std::string_view text = i_number.substr(exponentMark + 1);
        text.remove_prefix(text.starts_with('+') ? 1 : 0);
        if (std::from_chars(text.data(), text.data() + text.size(), exponent).ec != std::errc())
            return text.starts_with('-');
    }
    return exponent + static_cast<long long>(point) < static_cast<long long>(digit);
}

} // namespace

std::string_view Trim(std::string_view i_text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t begin = i_text.find_first_not_of(blanks);
    return begin == std::string_view::npos ? std::string_view()
                                           : i_text.substr(begin, i_text.find_last_not_of(blanks) - begin + 1);
}

void CheckNumber(double i_number, const Quantity& i_quantity)
{
    if (std::isnan(i_number))
        throw FieldError("is not a number");
    const bool isAboveMin = i_quantity.isMinAllowed ? i_number >= i_quantity.min : i_number > i_quantity.min;
    if (isAboveMin && i_number <= i_quantity.max)
        return;
    throw FieldError("is " + TavSDK::NumberToText(i_number) + ", which is not " +
                     (i_quantity.isMinAllowed ? "from " : "more than ") + TavSDK::NumberToText(i_quantity.min) +
                     (i_quantity.isMinAllowed ? " to " : " and up to ") + TavSDK::NumberToText(i_quantity.max) + ' ' +
                     i_quantity.unit);
}

double ParseNumber(std::string_view i_text, const Quantity& i_quantity)
{
    const std::string_view text = TrimNumber(i_text);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = end == text.data() + text.size() && error != std::errc::invalid_argument;
    // from_chars knows names of numbers as well.
    if (!isNumber || text.find_first_of("nN") != std::string_view::npos)
        throw FieldError("is " + Quote(text) + ", which is no number");
    if (error == std::errc::result_out_of_range) {
        number = IsTiny(text) ? 0 : std::numeric_limits<double>::infinity();
        if (text.starts_with('-'))
            number = -number;
    }
    CheckNumber(number, i_quantity);
    return number;
}

std::string_view CheckText(const Field& i_field, std::string_view i_text)
{
    if (i_field.kind == Field::Kind::Number) {
        ParseNumber(i_text, *i_field.quantity);
        return TrimNumber(i_text);
    }
    if (i_field.kind == Field::Kind::Text) {
        if (i_text.empty() && !i_field.isEmptyAllowed)
            throw FieldError("is empty");
        return i_text;
    }
    const std::string_view text = Trim(i_text);
    if (std::find(i_field.choices.begin(), i_field.choices.end(), text) != i_field.choices.end())
        return text;
    std::string possible;
    for (const std::string& choice : i_field.choices)
        possible.append(possible.empty() ? "" : ", ").append(choice);
    throw FieldError("is " + Quote(text) + ", which is none of " + possible);
}

std::string Quote(std::string_view i_text)
{
    constexpr std::size_t longest = 60;
    std::wstring text = TavSDK::ToWide(i_text);
    std::replace_if(
        text.begin(), text.end(),
        [](wchar_t i_character) {
            return i_character < 0x20 || (i_character >= 0x7F && i_character < 0xA0) || i_character == 0x2028 ||
                   i_character == 0x2029;
        },
        L' ');
    return TavSDK::Quote(TavSDK::ToUtf8(text), longest);
}

} // namespace MachineLayer
