#pragma once

#include "vexlorcore_export.h"

#include <string>

namespace VexlorCore {

/// A new, empty temporary file (0600) that is removed with the object.
class VEXLORCORE_EXPORT ScopedTemporaryFile
{
public:
    /// \param i_stem and i_extension (with its dot) surround a part that makes the name unique.
    /// \throws TavAM::FileError with folder and reason; std::invalid_argument when a name holds a path separator.
    ScopedTemporaryFile(const std::wstring& i_stem, const std::wstring& i_extension);
    ~ScopedTemporaryFile();
    ScopedTemporaryFile(const ScopedTemporaryFile&) = delete;
    ScopedTemporaryFile& operator=(const ScopedTemporaryFile&) = delete;

    const std::wstring& GetPath() const { return _path; }
    const wchar_t* c_str() const { return _path.c_str(); }

private:
    std::wstring _path;
};

} // namespace VexlorCore
