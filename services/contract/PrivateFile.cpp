#include "contract/PrivateFile.h"

#include "contract/Failure.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace MachineService {

void MakePrivateFolder(const std::filesystem::path& i_folder)
{
    std::filesystem::path folder;
    for (const auto& step : i_folder) {
        folder /= step;
        if (mkdir(folder.c_str(), S_IRWXU) == 0)
            continue;
        const int failure = errno;
        // Folders that are there already, and the root, are left as they are.
        std::error_code ignored;
        if (failure != EEXIST && !std::filesystem::is_directory(folder, ignored))
            Fail(ErrorCode::FileError,
                 "The folder '" + TavSDK::ShowPath(folder) + "' cannot be made: " + TavSDK::ErrnoText(failure) + '.');
    }
}

void WritePrivateFile(const std::filesystem::path& i_path, const std::string& i_text)
{
    try {
        TavSDK::AtomicFile file(i_path);
        file.Write(i_text);
        file.Commit();
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError,
             "The file '" + TavSDK::ShowPath(i_path) + "' cannot be written: " + failure.what() + '.');
    }
}

std::optional<std::string> ReadBoundedFile(const std::filesystem::path& i_path, std::size_t i_max_size)
{
    try {
        auto file = TavSDK::InputFile::OpenIfThere(i_path);
        return file ? std::optional(file->ReadAll(i_max_size)) : std::nullopt;
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError,
             "The file '" + TavSDK::ShowPath(i_path) + "' cannot be read: " + failure.what() + '.');
    }
}

} // namespace MachineService
