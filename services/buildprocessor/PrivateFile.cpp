#include "buildprocessor/PrivateFile.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/UniqueFd.h"
#include "tavam/AtomicFile.h"
#include "tavam/FileError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace MachineService::BuildProcessor {

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
                 "The folder '" + folder.string() + "' cannot be made: " + ErrorText(failure) + '.');
    }
}

void WritePrivateFile(const std::filesystem::path& i_path, const std::string& i_text)
{
    try {
        TavAM::AtomicFile file(i_path);
        file.Write(i_text);
        file.Sync();
        file.Commit();
    } catch (const TavAM::FileError& failure) {
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' cannot be written: " + failure.what() + '.');
    }
}

std::optional<std::string> ReadBoundedFile(const std::filesystem::path& i_path, std::size_t i_max_size)
{
    const auto fail = [&](const std::string& i_reason) {
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' cannot be read: " + i_reason + '.');
    };
    // O_NONBLOCK: a pipe of that name must not hold up the service.
    const UniqueFd file(open(i_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file && errno == ENOENT)
        return std::nullopt;
    struct stat info = {};
    if (!file || fstat(file.Get(), &info) != 0)
        fail(ErrorText(errno));
    if (!S_ISREG(info.st_mode))
        fail("it is not a regular file");
    std::string text(i_max_size + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = read(file.Get(), text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail(ErrorText(errno));
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    if (size > i_max_size)
        fail("it is larger than " + std::to_string(i_max_size) + " bytes");
    text.resize(size);
    return text;
}

} // namespace MachineService::BuildProcessor
