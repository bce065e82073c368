#pragma once

#include "tavam/Database.h"
#include "tavam_export.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace TavAM {

/// Reads a .TavAMX platform file.
///
/// The file comes from anywhere: sizes, counts, depth, names and numbers are bounded and checked before they count.
/// The format is described in docs/tavamx-format.md.
///
/// Thread: any; one reader on one thread at a time.
class TAVAM_EXPORT AMXFileReader
{
public:
    /// Adds what the file holds to the database; on failure the database is left as it was.
    /// \param i_stop asked before each entry of the package, so that reading ends soon after.
    /// \throws FileError; also when the token asked.
    static void Read(const std::filesystem::path& i_path, Database& io_database, const std::stop_token& i_stop = {});
    /// The same for callers that go on after a failure.
    /// \return false on failure; GetError() then has the sentence of Read().
    bool ReadFile(const std::filesystem::path& i_path, Database& io_database);
    /// UTF-8, one sentence; empty after success.
    const std::string& GetError() const { return _error; }

private:
    std::string _error;
};

} // namespace TavAM
