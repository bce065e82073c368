#include "tavsdk/PercentEncoding.h"

namespace TavSDK {

std::string EncodePercent(std::string_view i_text)
{
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char character : i_text) {
        const auto byte = static_cast<unsigned char>(character);
        if (plain.find(character) != std::string_view::npos)
            text += character;
        else
            (text += '%').append({digits[byte >> 4], digits[byte & 15]});
    }
    return text;
}

} // namespace TavSDK
