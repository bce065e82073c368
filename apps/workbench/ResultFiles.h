#pragma once

#include <QString>

#include <filesystem>

namespace VexlorCore {
class DataSet;
}

// What a run leaves behind. Errors: std::runtime_error with one sentence for the user, UTF-8, unless said otherwise.

namespace Workbench {

/// Text for the user.
QString FromPath(const std::filesystem::path& i_path);

/// Copies under a temporary name and renames, so that a file of a former run is replaced as a whole or not at all.
void CopyFile(const std::filesystem::path& i_from, const std::filesystem::path& i_to);

/// Saves the scene's platform, with the configuration of its machine, opens the file again and compares.
/// \throws also what saving and the machine's configuration throw.
void SavePlatform(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path);

} // namespace Workbench
