#pragma once

#include "buildprocessor/MachineProfile.h"
#include "tavam/Platform.h"

#include <filesystem>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// Properties of a platform by which this service keeps what was chosen and found for it.
namespace PropertyName {
inline constexpr wchar_t LayerHeight[] = L"BuildProcessor.LayerHeight"; ///< mm
inline constexpr wchar_t Material[] = L"BuildProcessor.Material";       ///< name
inline constexpr wchar_t Nozzle[] = L"BuildProcessor.Nozzle";           ///< diameter, mm; fused filament only
inline constexpr wchar_t Plate[] = L"BuildProcessor.Plate";             ///< name; where there is a choice
inline constexpr wchar_t Printer[] = L"BuildProcessor.Printer";
inline constexpr wchar_t Manufacturer[] = L"BuildProcessor.Manufacturer";
inline constexpr wchar_t QueueState[] = L"BuildProcessor.QueueState";
inline constexpr wchar_t Engine[] = L"BuildProcessor.Engine";             ///< version
inline constexpr wchar_t Connection[] = L"BuildProcessor.Connection";     ///< "tested"
inline constexpr wchar_t SettingsFile[] = L"BuildProcessor.SettingsFile"; ///< absolute path
inline constexpr wchar_t JobFolder[] = L"BuildProcessor.JobFolder";       ///< absolute path
inline constexpr wchar_t Check[] = L"BuildProcessor.Check";               ///< "passed"
inline constexpr wchar_t CheckTime[] = L"BuildProcessor.CheckTime";       ///< ISO-8601, UTC
inline constexpr wchar_t PartCount[] = L"BuildProcessor.PartCount";
inline constexpr wchar_t PartVolume[] = L"BuildProcessor.PartVolume"; ///< cm³
} // namespace PropertyName

/// What a user sets for one printer: what its platforms have unless they say otherwise. The file
/// "<settings folder>/<id>.json" is written by the configure command and may be edited; format in
/// docs/machine-profiles.md.
struct MachineSettings
{
    double layerHeight = 0; ///< mm, one of the profile's
    std::string material;   ///< one of the profile's
    // Of automatic placement:
    double clearance = 3;     ///< mm, between two parts
    double wallClearance = 3; ///< mm, to the edge of the bed

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

/// The profile with layer height, material, nozzle and plate of the platform as its defaults; where the platform has
/// none, or one that the machine does not offer, those of the settings or the profile. \param io_notes gets a sentence
/// for each that was replaced.
MachineProfile ApplyPlatformSettings(const MachineProfile& i_profile, const MachineSettings& i_settings,
                                     const TavAM::Platform& i_platform, std::vector<std::string>& io_notes);
/// Writes the profile's default layer height, material, nozzle and plate to the platform's properties.
void StorePlatformSettings(const MachineProfile& i_profile, TavAM::Platform& io_platform);

/// Number as properties and files have it: decimal with a point, the shortest that reads back as the same.
std::string ToNumberText(double i_value);

} // namespace MachineService::BuildProcessor
