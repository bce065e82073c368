#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Vexlor {

/// A new file (0600) with these bytes: written under a temporary name beside it, then renamed.
/// \throws TavAM::FileError; what was at the path then stays.
void WriteFileAtomically(const std::filesystem::path& i_path, std::string_view i_bytes);

/// A name that is safe as that of a file: no separators, control or direction characters, no leading dot, at most 200
/// bytes with its extension kept; never empty.
std::string SanitizeFileName(const std::string& i_name);

/// Copies files into a folder, which is made (0700) if need be, under their own names or, where one is taken, under
/// "name (2).ext". All or none are copied.
/// Thread: any.
/// \return the copies in the order of the files.
/// \throws TavAM::FileError.
std::vector<std::filesystem::path> CopyDocuments(const std::vector<std::filesystem::path>& i_files,
                                                 const std::filesystem::path& i_folder);

} // namespace Vexlor
