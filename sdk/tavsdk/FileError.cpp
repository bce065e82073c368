#include "tavsdk/FileError.h"

#include <cstring>

namespace TavSDK {

std::string ErrnoText(int i_errno)
{
    // Not strerror: that is translated into the language of the locale, and written in its character set.
    const char* const text = ::strerrordesc_np(i_errno);
    return text ? text : "error " + std::to_string(i_errno);
}

} // namespace TavSDK
