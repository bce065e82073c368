#include "machinemanager/store/FileNames.h"

#include "tavsdk/Utf8.h"

#include <algorithm>

namespace MachineService::MachineManager {

namespace {

/// Longer extensions are none.
constexpr std::size_t LongestExtension = 20;

bool IsShown(wchar_t i_character)
{
    const auto character = static_cast<char32_t>(i_character);
    const bool isControl = character < 0x20 || (character >= 0x7f && character < 0xa0);
    const bool turns = (character >= 0x202a && character <= 0x202e) || (character >= 0x2066 && character <= 0x2069) ||
                       character == 0x200e || character == 0x200f || character == 0x061c;
    const bool isBreak = character == 0x2028 || character == 0x2029;
    return !isControl && !turns && !isBreak;
}

} // namespace

std::string CleanFileName(std::string_view i_name)
{
    if (const auto folder = i_name.find_last_of("/\\"); folder != std::string_view::npos)
        i_name.remove_prefix(folder + 1);
    auto wide = TavSDK::ToWide(i_name);
    std::erase_if(wide, [](wchar_t i_character) { return !IsShown(i_character); });
    std::string name = TavSDK::ToUtf8(wide);
    const auto isBlank = [](char i_character) {
        return i_character == ' ' || i_character == '.';
    };
    if (std::all_of(name.begin(), name.end(), isBlank))
        return "file";
    if (name.size() <= LongestFileName)
        return name;
    const auto dot = name.rfind('.');
    const std::string extension =
        dot != std::string::npos && name.size() - dot <= LongestExtension ? name.substr(dot) : std::string();
    return std::string(TavSDK::CutUtf8(name, LongestFileName - extension.size())) + extension;
}

bool IsFileHash(std::string_view i_text)
{
    return i_text.size() == 64 && std::all_of(i_text.begin(), i_text.end(), [](char i_character) {
               return (i_character >= '0' && i_character <= '9') || (i_character >= 'a' && i_character <= 'f');
           });
}

} // namespace MachineService::MachineManager
