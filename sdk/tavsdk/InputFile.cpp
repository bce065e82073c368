#include "tavsdk/InputFile.h"

#include "tavsdk/FileError.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TavSDK {

namespace {

constexpr std::size_t SmallestStep = std::size_t{1} << 20U;

/// O_NONBLOCK: a pipe of that name must not hold up its reader.
int Open(const std::filesystem::path& i_path, InputFile::Links i_links)
{
    return ::open(i_path.c_str(),
                  O_RDONLY | O_CLOEXEC | O_NONBLOCK | (i_links == InputFile::Links::Refuse ? O_NOFOLLOW : 0));
}

} // namespace

InputFile::InputFile(const std::filesystem::path& i_path, Links i_links)
    : InputFile(Open(i_path, i_links))
{}

InputFile::InputFile(int i_file)
    : _file(i_file)
{
    struct stat status = {};
    if (_file < 0 || ::fstat(_file, &status) != 0 || !S_ISREG(status.st_mode)) {
        const int failure = _file >= 0 && status.st_mode != 0 ? 0 : errno;
        if (_file >= 0)
            ::close(_file);
        throw FileError(failure != 0 ? ErrnoText(failure) : "it is no regular file");
    }
    _size = static_cast<std::uint64_t>(status.st_size);
}

std::optional<InputFile> InputFile::OpenIfThere(const std::filesystem::path& i_path)
{
    const int file = Open(i_path, Links::Follow);
    if (file < 0 && errno == ENOENT)
        return std::nullopt;
    return InputFile(file);
}

InputFile::~InputFile()
{
    if (_file >= 0)
        ::close(_file);
}

InputFile::InputFile(InputFile&& io_other) noexcept
    : _file(std::exchange(io_other._file, -1))
    , _size(io_other._size)
{}

std::size_t InputFile::Read(void* op_bytes, std::size_t i_count)
{
    std::size_t size = 0;
    while (size < i_count) {
        const auto count = ::read(_file, static_cast<char*>(op_bytes) + size, i_count - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw FileError(ErrnoText(errno));
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    return size;
}

std::string InputFile::ReadAll(std::uint64_t i_largest_size)
{
    const auto refuse = [&] {
        throw FileError("it is longer than " + std::to_string(i_largest_size) + " bytes");
    };
    if (_size > i_largest_size)
        refuse();
    std::string bytes;
    while (true) {
        const std::size_t had = bytes.size();
        // One byte more than there should be finds the end in the same pass. Some files tell of no size.
        const std::size_t step = _size >= had ? _size - had + 1 : std::max(SmallestStep, had);
        bytes.resize(had + step);
        const std::size_t count = Read(bytes.data() + had, step);
        bytes.resize(had + count);
        if (bytes.size() > i_largest_size)
            refuse();
        if (count < step)
            return bytes;
    }
}

void InputFile::Rewind()
{
    if (::lseek(_file, 0, SEEK_SET) != 0)
        throw FileError(ErrnoText(errno));
}

std::string ReadFile(const std::filesystem::path& i_path, std::uint64_t i_largest_size)
{
    return InputFile(i_path).ReadAll(i_largest_size);
}

} // namespace TavSDK
