#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

// What all targets share. A reader of foreign bytes gives a value or a sentence, whatever the bytes are, and what it
// has read reads back the same after it was written. A target that sees otherwise ends the process, which is a finding.

namespace Fuzz {

inline std::string_view ToText(const std::uint8_t* ip_data, std::size_t i_size)
{
    return {reinterpret_cast<const char*>(ip_data), i_size};
}

/// Ends the process unless the promise is kept.
void Require(bool i_is_kept, const char* ip_promise);

/// What a user can read: UTF-8 of moderate length, without control characters and words of the language that the
/// program is written in.
void RequireSentence(std::string_view i_text);
inline void RequireSentence(const std::exception& i_failure)
{
    RequireSentence(i_failure.what());
}

/// A folder in memory where there is one, which goes with the process.
const std::filesystem::path& GetFolder();
/// The bytes as a file, in the place of those of the call before.
std::filesystem::path MakeFile(std::string_view i_bytes);
std::string ReadBytes(const std::filesystem::path& i_path);

} // namespace Fuzz
