#include "machinelayer/RecordArchive.h"

#include "tavsdk/Utf8.h"

#include <array>
#include <charconv>
#include <cmath>

namespace MachineLayer {

bool Range::Holds(double i_number) const
{
    return std::isfinite(i_number) && i_number <= max && (isMinAllowed ? i_number >= min : i_number > min);
}

std::string Range::GetText() const
{
    if (isMinAllowed)
        return "between " + WriteNumber(min) + " and " + WriteNumber(max);
    return "above " + WriteNumber(min) + " and at most " + WriteNumber(max);
}

std::string WriteNumber(double i_number)
{
    std::array<char, 32> text;
    const auto result = std::to_chars(text.data(), text.data() + text.size(), i_number);
    return {text.data(), result.ptr};
}

std::string WriteText(const std::wstring& i_text)
{
    return TavSDK::ToUtf8(i_text);
}

std::optional<double> ParseNumber(std::string_view i_text)
{
    double number = 0;
    const char* end = i_text.data() + i_text.size();
    const auto result = std::from_chars(i_text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::wstring ParseText(const std::string& i_text)
{
    return TavSDK::FromUtf8(i_text).value_or(std::wstring());
}

std::string Shown(std::string_view i_text)
{
    constexpr std::size_t longest = 60;
    if (i_text.size() <= longest)
        return "\"" + std::string(i_text) + "\"";
    std::size_t size = longest;
    // Not in the middle of a character.
    while (size > 0 && (static_cast<unsigned char>(i_text[size]) & 0xC0U) == 0x80U)
        --size;
    return "\"" + std::string(i_text.substr(0, size)) + "…\"";
}

const std::string* NodeReader::_Find(std::string_view i_name) const
{
    for (const auto& [name, text] : _node.attributes) {
        if (name == i_name)
            return &text;
    }
    return nullptr;
}

void NodeReader::_Fail(const char* ip_name, const std::string& i_reason) const
{
    throw std::invalid_argument(_node.name + ": " + ip_name + " " + i_reason + ".");
}

} // namespace MachineLayer
