#pragma once

#include "machineservice_export.h"

#include <filesystem>
#include <string>
#include <vector>

namespace MachineService {

/// A temporary folder, readable by its owner only (0700), that goes with the object.
///
/// Ownership: neither copied nor moved; whatever lies in the folder at the end is removed.
class MACHINESERVICE_EXPORT ScopedTempDir
{
public:
    /// \throws CommunicationException FileError with the folder and the reason.
    ScopedTempDir();
    ~ScopedTempDir();
    ScopedTempDir(const ScopedTempDir&) = delete;
    ScopedTempDir& operator=(const ScopedTempDir&) = delete;

    std::filesystem::path GetAbsoluteDir() const;
    /// Path of a file directly in the folder; the file is not made.
    /// \throws CommunicationException FileError when the name is empty or would leave the folder.
    std::filesystem::path GetAbsoluteFileNameInTempDir(const std::string& i_file_name) const;
    /// Plain files in the folder whose names match a shell pattern ("*.TavAMX", "*"), in any case; in ascending order.
    /// \throws CommunicationException FileError when the folder cannot be read.
    std::vector<std::filesystem::path> GetFilesByFilter(const std::string& i_filter) const;

private:
    std::filesystem::path _dir;
};

} // namespace MachineService
