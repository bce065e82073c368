#pragma once

#include "tavsdk/Utf8.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace MachineService {

// Ids and names are plain ASCII nearly always; that way the conversion is a copy which the compiler can vectorize.

inline std::wstring ToWide(std::string_view i_text)
{
    unsigned char bits = 0;
    for (const char character : i_text)
        bits |= static_cast<unsigned char>(character);
    if (bits < 0x80)
        return {i_text.begin(), i_text.end()};
    return TavSDK::FromUtf8(i_text).value_or(std::wstring());
}

inline std::string ToNarrow(std::wstring_view i_text)
{
    char32_t bits = 0;
    for (const wchar_t character : i_text)
        bits |= static_cast<char32_t>(character);
    if (bits >= 0x80)
        return TavSDK::ToUtf8(i_text);
    std::string text(i_text.size(), '\0');
    std::transform(i_text.begin(), i_text.end(), text.begin(),
                   [](wchar_t i_character) { return static_cast<char>(i_character); });
    return text;
}

} // namespace MachineService
