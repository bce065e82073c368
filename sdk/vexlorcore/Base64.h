#pragma once

#include "vexlorcore_export.h"

#include <optional>
#include <string>

namespace VexlorCore {

/// RFC 4648, with padding, without line breaks.
VEXLORCORE_EXPORT std::string EncodeBase64(const std::string& i_bytes);
/// Empty when the text is not Base64; white space between groups is accepted, as files wrap it.
VEXLORCORE_EXPORT std::optional<std::string> DecodeBase64(const std::string& i_text);

} // namespace VexlorCore
