#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace MachineService::BuildProcessor {

/// The settings that the engine says it used for the whole platform, by its names.
using UsedSettings = std::map<std::string, std::string, std::less<>>;

/// Lines "layer_height = 0.2".
UsedSettings ReadSettingLines(std::string_view i_text);
/// Those that stand behind the last move of G-code; empty when there are none.
UsedSettings ReadUsedSettings(const std::filesystem::path& i_gcode);

/// A part's own setting, else the platform's; 0 when it is neither there nor a number.
double GetSettingNumber(const EngineSettings& i_own, const UsedSettings& i_used, std::string_view i_name);

} // namespace MachineService::BuildProcessor
