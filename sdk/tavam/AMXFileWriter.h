#pragma once

#include "tavam/Database.h"
#include "tavam_export.h"

#include <filesystem>

namespace TavAM {

/// Writes a .TavAMX platform file: to a temporary name beside it, renamed when it is complete.
///
/// Thread: any; one writer on one thread at a time.
class TAVAM_EXPORT AMXFileWriter
{
public:
    /// Replaces a file at the path; on failure what was there stays and nothing is left beside it.
    /// \throws FileError; parts with a mesh that FindMeshDefect objects to are refused by name.
    void WriteFile(const std::filesystem::path& i_path, const Database& i_database);
    void WriteFile(const std::filesystem::path& i_path, const Platform& i_platform);
};

} // namespace TavAM
