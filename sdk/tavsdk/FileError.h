#pragma once

#include "tavsdk_export.h"

#include <stdexcept>
#include <string>

namespace TavSDK {

/// A file could not be read or written. what(): UTF-8.
///
/// The ground (InputFile, ZipReader, AtomicFile and the like) tells the bare reason, without the file's name and
/// without a full stop; who knows what the file is to the user makes the sentence that names it.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What an errno says, in English and UTF-8 whatever the locale.
TAVSDK_EXPORT std::string ErrnoText(int i_errno);

} // namespace TavSDK
