#pragma once

#include "tavsdk_export.h"

#include <string>
#include <string_view>

namespace TavSDK {

/// For a part of a URL's path or query: everything but what it may have anywhere (letters, digits and "-._~") is
/// percent-encoded.
///
/// Thread: any.
TAVSDK_EXPORT std::string EncodePercent(std::string_view i_text);

} // namespace TavSDK
