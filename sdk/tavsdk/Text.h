#pragma once

#include "tavsdk_export.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace TavSDK {

/// A text from outside between quotation marks, for a message: control characters as question marks, bytes that are not
/// UTF-8 as U+FFFD, and of a longer one only so many bytes, and an ellipsis.
TAVSDK_EXPORT std::string Quote(std::string_view i_text, std::size_t i_longest = std::string_view::npos);

/// Shortest decimal text that gives the same number when read; independent of the locale.
TAVSDK_EXPORT std::string NumberToText(double i_number);
/// The same, appended to a text whose memory may so be used again.
TAVSDK_EXPORT void AppendNumber(double i_number, std::string& io_text);
/// Empty unless the whole text is one finite number; independent of the locale.
TAVSDK_EXPORT std::optional<double> ParseNumber(std::string_view i_text);

} // namespace TavSDK
