#pragma once

#include "tavam/Platform.h"

#include <QString>

#include <filesystem>

namespace VexlorCore {
class DataSet;
}

// What a run leaves behind. Errors: HostingError unless said otherwise.

namespace Hosting {

/// Text for the user.
QString FromPath(const std::filesystem::path& i_path);

/// Where the machine says that it left the platform's machine file; empty when nothing was built.
std::filesystem::path GetMachineFile(const TavAM::Platform& i_platform);

/// Copies under a temporary name and renames: what was there is replaced as a whole or not at all.
void CopyFile(const std::filesystem::path& i_from, const std::filesystem::path& i_to);

/// Saves the scene's platform, with the configuration of its machine. What was there is replaced only by a file that
/// was opened again and holds the platform.
/// \throws also what saving and the machine's configuration throw.
void SavePlatform(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path);

} // namespace Hosting
