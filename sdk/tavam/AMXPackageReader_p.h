#pragma once

#include "tavam/Geometry.h"
#include "tavsdk/ZipReader.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace TavAM {

/// The package of a .TavAMX file, opened for reading.
///
/// Errors: FileError with the bare reason.
class AMXPackageReader
{
public:
    explicit AMXPackageReader(const std::filesystem::path& i_path)
        : _package(i_path)
    {}

    std::string ReadBytes(const std::string& i_entry, std::uint64_t i_largest_size) const
    {
        return _package.ReadBytes(i_entry, i_largest_size);
    }
    /// A sound mesh. The same object for the same entry.
    std::shared_ptr<const Mesh> ReadMesh(const std::string& i_entry);

private:
    const TavSDK::ZipReader _package;
    std::map<std::string, std::shared_ptr<const Mesh>> _meshes;
};

} // namespace TavAM
