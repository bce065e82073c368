#include "buildprocessor/PrivateFile.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace MachineService::BuildProcessor {

namespace {

[[noreturn]] void FailWrite(const std::filesystem::path& i_path, const std::string& i_reason)
{
    Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' cannot be written: " + i_reason + '.');
}

} // namespace

void MakePrivateFolder(const std::filesystem::path& i_folder)
{
    std::error_code error;
    std::filesystem::path missing = i_folder;
    std::vector<std::filesystem::path> folders;
    for (; !missing.empty() && !std::filesystem::exists(missing, error); missing = missing.parent_path())
        folders.push_back(missing);
    for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
        if (mkdir(folder->c_str(), S_IRWXU) != 0 && errno != EEXIST)
            Fail(ErrorCode::FileError,
                 "The folder '" + folder->string() + "' cannot be made: " + ErrorText(errno) + '.');
    }
}

void WritePrivateFile(const std::filesystem::path& i_path, const std::string& i_text)
{
    std::string temporary = (i_path.parent_path() / ("." + i_path.filename().string() + ".XXXXXX")).string();
    // Made for its owner alone, whatever the umask is.
    const UniqueFd file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file)
        FailWrite(i_path, ErrorText(errno));
    int failure = 0;
    std::size_t written = 0;
    while (failure == 0 && written < i_text.size()) {
        const ssize_t count = write(file.Get(), i_text.data() + written, i_text.size() - written);
        if (count >= 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            failure = errno;
    }
    if (failure == 0 && fsync(file.Get()) != 0)
        failure = errno;
    if (failure == 0 && rename(temporary.c_str(), i_path.c_str()) != 0)
        failure = errno;
    if (failure != 0) {
        unlink(temporary.c_str());
        FailWrite(i_path, ErrorText(failure));
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
