#include "buildprocessor/base/NameList.h"

#include "tavsdk/Utf8.h"

#include <algorithm>

namespace MachineService::BuildProcessor {

std::string JoinNames(const std::vector<std::string>& i_names)
{
    constexpr std::size_t maxNames = 10;
    constexpr std::size_t maxNameLength = 60;
    std::string text;
    for (std::size_t index = 0; index < std::min(i_names.size(), maxNames); ++index) {
        std::string name = i_names[index];
        std::replace_if(
            name.begin(), name.end(), [](char i_character) { return static_cast<unsigned char>(i_character) < 0x20; },
            ' ');
        if (name.size() > maxNameLength)
            name = std::string(TavSDK::CutUtf8(name, maxNameLength)) + "...";
        text += (index == 0 ? "'" : ", '") + name + '\'';
    }
    if (i_names.size() > maxNames)
        text += " and " + std::to_string(i_names.size() - maxNames) + " more";
    return text;
}

} // namespace MachineService::BuildProcessor
