#pragma once

#include "buildprocessor/machines/Clearances.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What a user sets for one printer: what its platforms have unless they say otherwise. The file
/// "<settings folder>/<id>.json" is written by the configure command and may be edited; format in
/// docs/machine-profiles.md.
struct MachineSettings
{
    double layerHeight = 0; ///< mm, one of the profile's
    std::string material;   ///< one of the profile's
    Clearances clearances;  ///< of automatic placement

    bool operator==(const MachineSettings&) const = default;
};

std::filesystem::path GetSettingsPath(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile);

/// The profile's defaults when there is no file. What the profile does not offer any more is replaced by its default;
/// \param io_notes gets a sentence for each.
/// \throws CommunicationException FileError for a damaged file, with file and field.
MachineSettings ReadMachineSettings(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile,
                                    std::vector<std::string>& io_notes);
/// \throws CommunicationException FileError.
void WriteMachineSettings(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile,
                          const MachineSettings& i_settings);

} // namespace MachineService::BuildProcessor
