#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace MachineService::BuildProcessor {

/// Results in a folder, found again by a hash of all that they were made of. An entry is a short text, and a file where
/// there is one.
///
/// The folder belongs to its user alone and may be used by several processes at once; it may be removed at any time,
/// which only costs time. What comes out is what was put in, by its hash: damaged entries go and count as missing. What
/// cannot be kept is not an error.
///
/// Thread: any.
class ContentCache
{
public:
    struct Bounds
    {
        std::uintmax_t bytes = 2'000'000'000;
        std::chrono::hours age{24 * 30}; ///< since an entry was last used
    };

    ContentCache(std::filesystem::path i_dir, const Bounds& i_bounds);

    /// \param i_key 64 hexadecimal digits, see Sha256.
    std::optional<std::string> FindText(const std::string& i_key) const;
    /// Copies the entry's file to i_target, which is new and private; false, and no such file, when there is none.
    /// \throws CommunicationException FileError when the target cannot be written; ProcessingAborted.
    bool CopyFile(const std::string& i_key, const std::filesystem::path& i_target, const std::stop_token& i_stop) const;

    /// Keeps an entry, and removes the longest unused ones that are beyond the bounds.
    /// \param i_file empty: the text alone.
    /// \throws CommunicationException ProcessingAborted.
    void Keep(const std::string& i_key, const std::string& i_text, const std::filesystem::path& i_file,
              const std::stop_token& i_stop) const;

private:
    struct Entry
    {
        std::string fileHash; ///< empty: none
        std::string text;
    };

    std::optional<Entry> _Read(const std::string& i_key) const;
    void _Keep(const std::string& i_key, const Entry& i_entry, const std::filesystem::path& i_temporary) const;
    void _Sweep() const;

    const std::filesystem::path _dir;
    const Bounds _bounds;
};

} // namespace MachineService::BuildProcessor
