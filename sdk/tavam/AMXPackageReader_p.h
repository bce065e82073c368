#pragma once

#include "tavam/Geometry.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

struct zip;
struct zip_file;

namespace TavAM {

/// The zip package of a .TavAMX file, opened for reading: hands out entries within the package's bounds.
///
/// Sizes that the package states are never believed: what comes out is counted.
/// Errors: all operations throw FileError with a reason that does not name the file.
class AMXPackageReader
{
public:
    explicit AMXPackageReader(const std::filesystem::path& i_path);
    ~AMXPackageReader();
    AMXPackageReader(const AMXPackageReader&) = delete;
    AMXPackageReader& operator=(const AMXPackageReader&) = delete;

    std::string ReadBytes(const std::string& i_entry, std::uint64_t i_largest_size);
    /// A sound mesh. The same object for the same entry.
    std::shared_ptr<const Mesh> ReadMesh(const std::string& i_entry);

private:
    class Entry;

    void _CheckEntries();

    struct ZipDiscarder
    {
        void operator()(zip* ip_zip) const;
    };
    std::unique_ptr<zip, ZipDiscarder> _zip;
    std::uint64_t _fileSize = 0;
    std::uint64_t _unpackedSize = 0;
    std::map<std::string, std::uint64_t> _indices; ///< by entry name
    std::map<std::string, std::shared_ptr<const Mesh>> _meshes;
};

} // namespace TavAM
