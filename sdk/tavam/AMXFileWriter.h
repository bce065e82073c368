#pragma once

#include "tavam/Database.h"
#include "tavam_export.h"

#include <filesystem>
#include <functional>

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
    /// \param i_check called with the complete file under its temporary name; the path's file is replaced only when it
    ///        comes back. What it throws is thrown here.
    void WriteFile(const std::filesystem::path& i_path, const Platform& i_platform,
                   const std::function<void(const std::filesystem::path&)>& i_check = {});
};

} // namespace TavAM
