#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "buildprocessor/machines/MachineSettings.h"
#include "buildprocessor/platform/PlatformRules.h"
#include "tavam/Platform.h"

#include <filesystem>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What one job is done with: settled once, from the machine's profile, its own settings and what the platform says,
/// and then only handed on.
struct JobSettings
{
    /// Its defaults are layer height, material, nozzle and plate of the job; its engine settings are all that the
    /// engine is told for the whole platform.
    MachineProfile profile;
    MachineSettings machine; ///< what the machine's other platforms have
    PlatformRules rules;
    std::vector<std::string> notes; ///< what had to be replaced or is not done, a sentence each
};

/// Value by value what the platform says, where the machine offers it, else what the settings say, else the profile.
/// \param i_settings_dir of the machines' own settings.
/// \throws CommunicationException FileError for damaged settings of the machine and for a configuration of the platform
///         that cannot be read.
JobSettings SettleJobSettings(const MachineProfile& i_profile, const std::filesystem::path& i_settings_dir,
                              const TavAM::Platform& i_platform);

/// Writes layer height, material, nozzle and plate to the platform's properties.
void StoreJobSettings(const JobSettings& i_settings, TavAM::Platform& io_platform);

} // namespace MachineService::BuildProcessor
