#pragma once

#include "machinemanager/store/FileDescriptor.h"

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// Calls of the system for kept files. Errors: ManagerError Storage with a sentence that names the file.

namespace MachineService::MachineManager {

/// Quoted.
std::string ShowFile(const std::filesystem::path& i_path);
[[noreturn]] void FailStorage(const std::filesystem::path& i_path, const char* ip_what, int i_errno = errno);

/// For its owner alone; one that is there is left as it is.
void MakeFolder(const std::filesystem::path& i_folder);
FileDescriptor OpenFolder(const std::filesystem::path& i_folder);
/// \param i_kind of flock.
void Lock(const FileDescriptor& i_file, const std::filesystem::path& i_path, int i_kind);
void Sync(const FileDescriptor& i_file, const std::filesystem::path& i_path, bool i_is_folder = false);
void WriteAll(const FileDescriptor& i_file, const std::filesystem::path& i_path, std::string_view i_bytes);
std::uint64_t GetSize(const FileDescriptor& i_file, const std::filesystem::path& i_path);

} // namespace MachineService::MachineManager
