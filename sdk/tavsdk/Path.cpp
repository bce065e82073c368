#include "tavsdk/Path.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <cstdlib>
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

std::filesystem::path GetUserFolder(UserFolder i_folder)
{
    const struct
    {
        const char* variable;
        const char* belowHome;
    } names[] = {{"XDG_CONFIG_HOME", ".config"}, {"XDG_DATA_HOME", ".local/share"}, {"XDG_CACHE_HOME", ".cache"}};
    const auto& name = names[static_cast<std::size_t>(i_folder)];
    const auto get = [](const char* ip_variable) {
        const char* const value = std::getenv(ip_variable);
        return std::filesystem::path(value ? value : "");
    };
    std::filesystem::path folder = get(name.variable);
    if (!folder.is_absolute())
        folder = get("HOME") / name.belowHome;
    if (!folder.is_absolute())
        throw FileError("There is no home folder; set HOME to an absolute path.");
    if (!IsUtf8(folder.native()))
        throw FileError("The name of the folder " + Quote(ShowPath(folder)) + " is not UTF-8; set " + name.variable +
                        " to another one.");
    return folder;
}

std::string ShowPath(const std::filesystem::path& i_path)
{
    return ReplaceInvalid(i_path.native());
}

} // namespace TavSDK
