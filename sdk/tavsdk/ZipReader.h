#pragma once

#include "tavsdk/ZipBounds.h"
#include "tavsdk_export.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace TavSDK {

/// A zip package from outside, opened for reading: hands out entries within bounds. Stored and deflated entries, sizes
/// of 32 and 64 bits.
///
/// A package is refused at once when it is damaged, has too many entries, an entry twice, or one whose name would lead
/// out of the folder that somebody unpacks it into. Sizes that it states are never believed: what comes out is counted.
///
/// Thread: one at a time.
/// Errors: FileError with the bare reason, which names the entry.
class TAVSDK_EXPORT ZipReader
{
public:
    class Entry;

    explicit ZipReader(const std::filesystem::path& i_path, const ZipBounds& i_bounds = {});
    /// Ownership: the bytes are not copied and must outlive the reader.
    static ZipReader FromBytes(std::string_view i_bytes, const ZipBounds& i_bounds = {});
    ~ZipReader();
    ZipReader(ZipReader&&) noexcept;
    ZipReader(const ZipReader&) = delete;
    ZipReader& operator=(const ZipReader&) = delete;

    /// In the order of the package.
    const std::vector<std::string>& GetNames() const;
    bool Has(const std::string& i_name) const;
    /// Ownership: the entry must not outlive the reader. Several may be open, read by one thread.
    Entry Open(const std::string& i_name) const;
    /// A whole entry.
    std::string ReadBytes(const std::string& i_name, std::uint64_t i_largest_size) const;

private:
    class Impl;
    explicit ZipReader(std::unique_ptr<Impl> ip_impl);

    std::unique_ptr<Impl> _impl;
};

/// One entry while it is read.
class TAVSDK_EXPORT ZipReader::Entry
{
public:
    ~Entry();
    Entry(Entry&&) noexcept;
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    /// Only a hint.
    std::uint64_t GetStatedSize() const { return _statedSize; }
    /// Fewer bytes than asked for only at the entry's end, where its checksum has been found right.
    std::size_t Read(void* op_bytes, std::size_t i_count);
    /// Appends i_count elements as the bytes come, never allocating far beyond what has come.
    template <class Vector>
    void ReadInto(Vector& io_elements, std::size_t i_count)
    {
        constexpr std::size_t elementSize = sizeof(typename Vector::value_type);
        while (io_elements.size() < i_count) {
            const std::size_t had = io_elements.size();
            const std::size_t step = std::min(i_count - had, std::max(_firstStep / elementSize, had));
            io_elements.resize(had + step);
            if (Read(io_elements.data() + had, step * elementSize) != step * elementSize)
                Throw("is shorter than its counts say");
        }
    }
    void RequireEnd();
    /// \throws FileError that names the entry.
    [[noreturn]] void Throw(const std::string& i_reason) const;

private:
    friend class ZipReader;
    class File;
    Entry(ZipReader::Impl& io_package, const std::string& i_name);

    void _Count(std::uint64_t i_bytes);

    ZipReader::Impl& _package;
    std::string _name;
    std::unique_ptr<File> _file;
    std::uint64_t _statedSize = 0;
    std::uint64_t _packedSize = 0; ///< never more than the package has
    std::size_t _firstStep = 0;    ///< bytes to make room for before any has come
    std::uint64_t _size = 0;       ///< that came out
};

} // namespace TavSDK
