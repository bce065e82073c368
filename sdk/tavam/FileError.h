#pragma once

#include "tavsdk/FileError.h"

namespace TavAM {

/// A file could not be read or written. what(): UTF-8, names the file and the reason in one sentence.
using FileError = TavSDK::FileError;

} // namespace TavAM
