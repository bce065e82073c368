#include "tavsdk/Path.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <system_error>

namespace TavSDK {

std::string PathToUtf8(const std::filesystem::path& i_path)
{
    if (!IsUtf8(i_path.native()))
        throw FileError("the path " + Quote(ShowPath(i_path)) + " is not UTF-8");
    return i_path.native();
}

std::wstring PathToWide(const std::filesystem::path& i_path)
{
    return *FromUtf8(PathToUtf8(i_path));
}

std::filesystem::path PathFromUtf8(std::string_view i_text)
{
    if (!IsUtf8(i_text) || i_text.find('\0') != std::string_view::npos)
        throw FileError("the path " + Quote(ReplaceInvalid(i_text)) + " is not UTF-8 or holds a zero");
    return i_text;
}

std::filesystem::path PathFromWide(std::wstring_view i_text)
{
    const bool isText = std::all_of(i_text.begin(), i_text.end(),
                                    [](wchar_t i_unit) { return IsCharacter(static_cast<char32_t>(i_unit)); });
    if (!isText)
        throw FileError("the path " + Quote(ToUtf8(i_text)) + " holds what is no character");
    return PathFromUtf8(ToUtf8(i_text));
}

std::filesystem::path GetTemporaryFolder()
{
    std::error_code error;
    const auto folder = std::filesystem::temp_directory_path(error);
    if (error)
        throw FileError("There is no folder for temporary files: " + ErrnoText(error.value()) + ".");
    if (!IsUtf8(folder.native()))
        throw FileError("The name of the folder for temporary files, " + Quote(ShowPath(folder)) +
                        ", is not UTF-8; set TMPDIR to another one.");
    return std::filesystem::absolute(folder);
}

std::string ShowPath(const std::filesystem::path& i_path)
{
    return ReplaceInvalid(i_path.native());
}

} // namespace TavSDK
