#include "buildprocessor/engine/UsedSettings.h"

#include "buildprocessor/engine/GCodeReader.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace MachineService::BuildProcessor {

UsedSettings ReadSettingLines(std::string_view i_text)
{
    UsedSettings settings;
    while (!i_text.empty()) {
        const std::size_t end = std::min(i_text.find('\n'), i_text.size());
        std::string_view line = i_text.substr(0, end);
        i_text.remove_prefix(std::min(end + 1, i_text.size()));
        if (line.starts_with("; "))
            line.remove_prefix(2);
        if (const std::size_t equals = line.find(" = "); equals != std::string_view::npos)
            settings[std::string(line.substr(0, equals))] = line.substr(equals + 3);
    }
    return settings;
}

UsedSettings ReadUsedSettings(const std::filesystem::path& i_gcode)
{
    constexpr std::streamoff tailSize = 200'000;
    constexpr std::string_view begin = "; prusaslicer_config = begin\n";
    std::ifstream file(i_gcode, std::ios::binary | std::ios::ate);
    file.seekg(std::max<std::streamoff>(file.tellg() - tailSize, 0));
    const std::string tail{std::istreambuf_iterator<char>(file), {}};
    const std::size_t at = tail.rfind(begin);
    return at == std::string::npos ? UsedSettings()
                                   : ReadSettingLines(std::string_view(tail).substr(at + begin.size()));
}

double GetSettingNumber(const EngineSettings& i_own, const UsedSettings& i_used, std::string_view i_name)
{
    double value = 0;
    // Of one setting the last counts.
    const auto own =
        std::find_if(i_own.rbegin(), i_own.rend(), [&](const auto& i_setting) { return i_setting.first == i_name; });
    if (own != i_own.rend())
        ReadNumber(own->second, value);
    else if (const auto used = i_used.find(i_name); used != i_used.end())
        ReadNumber(used->second, value);
    return value;
}

} // namespace MachineService::BuildProcessor
