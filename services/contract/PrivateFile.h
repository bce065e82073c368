#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace MachineService {

/// Makes a folder that only its owner enters, and those above it that are missing. Harmless when it is there.
/// \throws CommunicationException FileError that names the folder.
void MakePrivateFolder(const std::filesystem::path& i_folder);

/// Writes a file that only its owner reads: complete or not at all, what was there stays on failure. Its folder must be
/// there. The temporary name begins with a dot.
/// \throws CommunicationException FileError that names the file.
void WritePrivateFile(const std::filesystem::path& i_path, const std::string& i_text);

/// Empty when there is no such file.
/// \throws CommunicationException FileError when it cannot be read, is not a regular file or larger than i_max_size.
std::optional<std::string> ReadBoundedFile(const std::filesystem::path& i_path, std::size_t i_max_size);

} // namespace MachineService
