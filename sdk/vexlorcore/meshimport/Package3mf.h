#pragma once

#include "tavsdk/XmlReader.h"
#include "tavsdk/ZipReader.h"

#include <map>
#include <string>
#include <string_view>

namespace VexlorCore {

/// The documents of a 3MF package. Entries that are none, such as thumbnails, are never unpacked.
///
/// Paths are compared as packages do: without regard to case, with or without the slash that they begin with.
class Package3mf
{
public:
    /// \param i_bytes must outlive the package.
    /// \throws std::runtime_error when it is no sound package.
    explicit Package3mf(std::string_view i_bytes);

    /// Path of the model that the package begins with.
    /// \throws std::runtime_error when it names none.
    std::string FindStart() const;
    /// Reads a document while it is unpacked.
    /// \throws std::runtime_error with its path and the reason.
    void Read(std::string_view i_path, TavSDK::XmlReaderBase& io_reader) const;

private:
    TavSDK::ZipReader _package;
    std::map<std::string, std::string, std::less<>> _entries; ///< names by path
};

} // namespace VexlorCore
