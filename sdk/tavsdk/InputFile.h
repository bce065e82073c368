#pragma once

#include "tavsdk_export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace TavSDK {

/// A regular file, opened for reading. Anything else is refused: opening a pipe would wait for its writer, maybe for
/// ever.
///
/// Thread: one at a time.
/// Errors: FileError with the bare reason.
class TAVSDK_EXPORT InputFile
{
public:
    enum class Links
    {
        Follow,
        Refuse, ///< for files of which somebody else chose what they are
    };

    explicit InputFile(const std::filesystem::path& i_path, Links i_links = Links::Follow);
    /// Empty when there is no such file.
    static std::optional<InputFile> OpenIfThere(const std::filesystem::path& i_path);
    ~InputFile();
    InputFile(InputFile&& io_other) noexcept;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// Bytes, when it was opened.
    std::uint64_t GetSize() const { return _size; }
    /// Number of bytes; fewer than asked for only at the end.
    std::size_t Read(void* op_bytes, std::size_t i_count);
    /// All that is left to read.
    std::string ReadAll(std::uint64_t i_largest_size);
    void Rewind();
    /// For libraries; stays this object's.
    int GetDescriptor() const { return _file; }

private:
    explicit InputFile(int i_file);

    int _file;
    std::uint64_t _size = 0;
};

/// \throws FileError also when the file is longer than i_largest_size bytes.
TAVSDK_EXPORT std::string ReadFile(const std::filesystem::path& i_path, std::uint64_t i_largest_size);

} // namespace TavSDK
