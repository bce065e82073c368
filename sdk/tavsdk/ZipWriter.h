#pragma once

#include "tavsdk/ZipBounds.h"
#include "tavsdk_export.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace TavSDK {

/// Makes a zip package that ZipReader reads: collects its entries, then writes them all.
///
/// The same entries make the same bytes. An entry that would pack so well that a reader took it for a bomb is stored.
///
/// Thread: one at a time.
/// Errors: FileError with the bare reason.
class TAVSDK_EXPORT ZipWriter
{
public:
    enum class Packing
    {
        Store,
        Deflate, ///< fast rather than small
    };

    /// An entry of pieces of memory, one behind the other.
    /// Ownership: the pieces are not copied and must stay until Write() has returned.
    void Add(std::string i_name, std::vector<std::string_view> i_pieces, Packing i_packing);
    /// An entry with the content of a file, which is read when the package is written.
    void AddFile(std::string i_name, const std::filesystem::path& i_file, Packing i_packing);

    /// \param i_file descriptor of an empty file that is open for reading and writing; stays the caller's.
    void Write(int i_file);

private:
    struct Entry
    {
        std::string name;
        std::vector<std::string_view> pieces;
        std::filesystem::path file; ///< in place of pieces
        Packing packing;
    };

    void _WriteOnce(int i_file);
    bool _StoreWhatPacksTooWell(int i_file);

    std::vector<Entry> _entries;
    std::uint64_t _size = 0; ///< of all pieces
};

} // namespace TavSDK
