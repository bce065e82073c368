#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <map>
#include <string>

namespace MachineService::BuildProcessor {

/// Settings by the engine's names for them; the engine refuses a file in which a name appears twice.
using EngineConfiguration = std::map<std::string, std::string>;

/// All that the engine is told: what the service decides, then what the profile's engine settings say, then what a job
/// cannot do without. The end of a machine file for filament turns heaters, fan and steppers off behind whatever the
/// profile does there.
EngineConfiguration MakeEngineConfiguration(const MachineProfile& i_profile);

/// As the text of a settings file.
std::string ToText(const EngineConfiguration& i_configuration);

/// \throws CommunicationException FileError.
void WriteEngineConfiguration(const EngineConfiguration& i_configuration, const std::filesystem::path& i_path);

/// True for a dialect of G-code in which heaters and steppers can be turned off by commands that are known here.
bool CanEndSafely(const std::string& i_gcode_flavor);

} // namespace MachineService::BuildProcessor
