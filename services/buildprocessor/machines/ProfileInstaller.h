#pragma once

#include "buildprocessor/machines/ProfileFolder.h"

#include <filesystem>
#include <string>

namespace MachineService::BuildProcessor {

/// Copies a printer's profile into the folder of profiles, once all of it has been checked. A file of the same printer
/// in that folder is replaced, under the name that it has there.
///
/// Thread: any, blocking.
/// \return the printer's name.
/// \throws ProfileError names file and field; the folder is as it was.
std::string InstallProfile(const std::filesystem::path& i_file, const std::filesystem::path& i_folder,
                           const ProfileFolder::FindFault& i_find_fault);

} // namespace MachineService::BuildProcessor
