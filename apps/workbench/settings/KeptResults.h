#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>

namespace Workbench {

/// What the Build Processors keep of the slicing engine's results, in one folder.
///
/// Thread: any, blocking. Only files of the names that the service gives are counted and removed: the folder may be one
/// that somebody else uses too.
namespace KeptResults {

/// Bytes; 0 where there is no such folder.
std::uintmax_t Measure(const std::filesystem::path& i_folder, const std::stop_token& i_stop);
/// What cannot be removed stays.
void Clear(const std::filesystem::path& i_folder, const std::stop_token& i_stop);

} // namespace KeptResults

} // namespace Workbench
