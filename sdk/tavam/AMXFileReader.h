#pragma once

#include "tavam/Database.h"
#include "tavam_export.h"

#include <filesystem>
#include <string>

namespace TavAM {

/// Reads a .TavAMX platform file.
///
/// The file comes from anywhere: sizes, counts, depth, names and numbers are bounded and checked before they count.
/// The format stands in docs/tavamx-format.md.
///
/// Thread: any; one reader on one thread at a time.
class TAVAM_EXPORT AMXFileReader
{
public:
    /// Adds what the file holds to the database; on failure the database is left as it was.
    /// \return false on failure; GetError() then says which file and why.
    bool ReadFile(const std::filesystem::path& i_path, Database& io_database);
    /// UTF-8, one sentence; empty after success.
    const std::string& GetError() const { return _error; }

private:
    std::string _error;
};

} // namespace TavAM
