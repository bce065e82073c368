#pragma once

#include <string>
#include <string_view>

namespace MachineService::MachineManager {

/// Bytes of a name that is shown to people.
constexpr std::size_t LongestFileName = 200;

/// A name from outside as it may be kept and shown: UTF-8 without folders, control characters and those that turn the
/// direction of writing, at most LongestFileName bytes, with its extension; "file" when nothing is left.
///
/// Thread: any.
std::string CleanFileName(std::string_view i_name);

/// Is it a SHA-256 as 64 lower-case hexadecimal characters? Nothing else may become part of a path.
bool IsFileHash(std::string_view i_text);

} // namespace MachineService::MachineManager
