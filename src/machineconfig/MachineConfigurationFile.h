#pragma once

#include "machineconfig/PlatformMachineConfiguration.h"
#include "machineservice_export.h"

#include <filesystem>
#include <string>
#include <vector>

namespace MachineService {

/// Writes the configuration's document under a temporary name beside the path and renames it when it is complete. On
/// failure what was there stays.
/// \throws CommunicationException InternalError for a configuration that cannot be written, FileError for the file.
MACHINESERVICE_EXPORT void SaveMachineConfiguration(const std::filesystem::path& i_path,
                                                    const PlatformMachineConfiguration& i_configuration);

/// \param op_remarks as in ReadMachineConfiguration().
/// \throws CommunicationException FileError with the file's name and what is wrong; see ReadMachineConfiguration().
MACHINESERVICE_EXPORT PlatformMachineConfiguration
LoadMachineConfiguration(const std::filesystem::path& i_path, std::vector<std::string>* op_remarks = nullptr);

} // namespace MachineService
