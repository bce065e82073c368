#pragma once

#include "tavsdk_export.h"

#include <filesystem>

namespace TavSDK {

/// Where the sockets of the user's programs belong: XDG_RUNTIME_DIR, or else a folder for the user alone below /tmp,
/// which is made here: not every way to log in, and no container, sets that variable.
/// \throws FileError with a whole sentence when that folder is somebody else's.
TAVSDK_EXPORT std::filesystem::path GetRuntimeFolder();

} // namespace TavSDK
