#pragma once

#include "tavsdk_export.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace TavSDK {

/// UTF-8 of a wide string; what is no character (half a surrogate pair, beyond U+10FFFF) becomes U+FFFD.
TAVSDK_EXPORT std::string ToUtf8(std::wstring_view i_text);
/// The same, appended to a text whose memory may so be used again.
TAVSDK_EXPORT void AppendUtf8(std::wstring_view i_text, std::string& io_text);
/// Empty when the bytes are not UTF-8.
TAVSDK_EXPORT std::optional<std::wstring> FromUtf8(std::string_view i_text);
/// The same for texts that were checked before, or are only shown: bytes that are not UTF-8 become U+FFFD.
TAVSDK_EXPORT std::wstring ToWide(std::string_view i_text);
/// The text with U+FFFD in the place of each byte that is not UTF-8.
TAVSDK_EXPORT std::string ReplaceInvalid(std::string_view i_text);
TAVSDK_EXPORT bool IsUtf8(std::string_view i_text);

/// Is it a character, and neither half of a surrogate pair nor beyond U+10FFFF?
TAVSDK_EXPORT bool IsCharacter(char32_t i_character);

/// Can XML 1.0 carry the character? It has no control characters and no halves of surrogate pairs.
TAVSDK_EXPORT bool IsXmlCharacter(char32_t i_character);

/// At most so many bytes of a text in UTF-8, without a part of a character at the end.
TAVSDK_EXPORT std::string_view CutUtf8(std::string_view i_text, std::size_t i_longest);

/// Appends the UTF-8 of one character; the character must be one (see ToUtf8).
TAVSDK_EXPORT void AppendUtf8(char32_t i_character, std::string& io_text);

} // namespace TavSDK
