#pragma once

#include "tavsdk_export.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace TavSDK {

// A path's native bytes are UTF-8, whatever the locale of C and of the C++ library: path::wstring(), QFile and
// QString::fromLocal8Bit go by the locale, so that a host in another one finds nothing or writes another name.

/// The path as text.
/// \throws FileError when its bytes are not UTF-8.
TAVSDK_EXPORT std::string PathToUtf8(const std::filesystem::path& i_path);
TAVSDK_EXPORT std::wstring PathToWide(const std::filesystem::path& i_path);

/// Gives back the path that the text was made of.
/// \throws FileError when the text is not UTF-8, or holds what is no character, or a zero.
TAVSDK_EXPORT std::filesystem::path PathFromUtf8(std::string_view i_text);
TAVSDK_EXPORT std::filesystem::path PathFromWide(std::wstring_view i_text);

/// Where temporary files belong (TMPDIR, or else /tmp): absolute, so that it stays the same when the working folder
/// changes.
/// \throws FileError with a whole sentence when there is no such folder, or its bytes are not UTF-8.
TAVSDK_EXPORT std::filesystem::path GetTemporaryFolder();

enum class UserFolder
{
    Configuration, ///< XDG_CONFIG_HOME, or else .config in the home folder
    Data,          ///< XDG_DATA_HOME, .local/share
    Cache,         ///< XDG_CACHE_HOME, .cache
};

/// Where the user's programs keep what is of this kind; it need not be there yet. As the rules of
/// the XDG base directories have it: a variable that holds no absolute path does not count.
/// \throws FileError with a whole sentence when there is no home folder, or the bytes are not UTF-8.
TAVSDK_EXPORT std::filesystem::path GetUserFolder(UserFolder i_folder);

/// The path for a message: bytes that are not UTF-8 are shown as U+FFFD.
TAVSDK_EXPORT std::string ShowPath(const std::filesystem::path& i_path);

} // namespace TavSDK
