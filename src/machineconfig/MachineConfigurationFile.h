#pragma once

#include "machineconfig/PlatformMachineConfiguration.h"
#include "machineservice_export.h"

#include <filesystem>
#include <optional>

namespace TavAM {
class Platform;
}

namespace MachineService {

/// AMX property of a platform: the configuration of the machine that it was prepared for, as the document that
/// WriteMachineConfiguration() makes.
inline constexpr wchar_t MachineConfigurationProperty[] = L"Print3D.MachineConfiguration";

/// Writes the configuration's document under a temporary name beside the path and renames it when it is complete. On
/// failure what was there stays.
/// \throws CommunicationException InternalError for a configuration that cannot be written, FileError for the file.
MACHINESERVICE_EXPORT void SaveMachineConfiguration(const std::filesystem::path& i_path,
                                                    const PlatformMachineConfiguration& i_configuration);

/// \throws CommunicationException FileError with the file's name and what is wrong; see ReadMachineConfiguration().
MACHINESERVICE_EXPORT PlatformMachineConfiguration LoadMachineConfiguration(const std::filesystem::path& i_path);

/// Makes the platform carry the configuration, also through its file.
/// \throws CommunicationException InternalError for a configuration that cannot be written or is too long for a
///         platform file; the platform is then left as it was.
MACHINESERVICE_EXPORT void SetMachineConfiguration(TavAM::Platform& io_platform,
                                                   const PlatformMachineConfiguration& i_configuration);

/// The configuration that the platform carries; empty when it carries none.
/// \throws CommunicationException FileError when it carries one that cannot be read.
MACHINESERVICE_EXPORT std::optional<PlatformMachineConfiguration>
GetMachineConfiguration(const TavAM::Platform& i_platform);

} // namespace MachineService
