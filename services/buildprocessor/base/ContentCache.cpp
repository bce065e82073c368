#include "buildprocessor/base/ContentCache.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/UniqueFd.h"
#include "contract/Failure.h"
#include "contract/PrivateFile.h"
#include "hashing/Sha256.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <vector>

namespace MachineService::BuildProcessor {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t HashLength = 64;
constexpr std::size_t MaxTextBytes = 16'000'000;
constexpr char TextExtension[] = ".entry";
constexpr char FileExtension[] = ".file";
constexpr char TemporaryPrefix[] = ".new-";

std::string HashOf(std::string_view i_text)
{
    Sha256 hash;
    hash.Add(i_text);
    return hash.GetHex();
}

/// Copies into a new private file; the hash of what was read, empty when the source cannot be read.
/// \throws CommunicationException FileError for the target; ProcessingAborted.
std::string CopyAndHash(const fs::path& i_source, const fs::path& i_target, const std::stop_token& i_stop)
{
    const UniqueFd source(open(i_source.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!source)
        return {};
    const UniqueFd target(open(i_target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const auto failTarget = [&] {
        Fail(ErrorCode::FileError,
             "The file '" + TavSDK::ShowPath(i_target) + "' cannot be written: " + TavSDK::ErrnoText(errno) + '.');
    };
    if (!target)
        failTarget();
    Sha256 hash;
    std::vector<char> buffer(1 << 20);
    while (true) {
        ThrowIfStopped(i_stop);
        const ssize_t count = read(source.Get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return {};
        if (count == 0)
            return hash.GetHex();
        hash.Add({buffer.data(), static_cast<std::size_t>(count)});
        for (ssize_t written = 0; written < count;) {
            const ssize_t step =
                write(target.Get(), buffer.data() + written, static_cast<std::size_t>(count - written));
            if (step < 0 && errno != EINTR)
                failTarget();
            written += std::max<ssize_t>(step, 0);
        }
    }
}

fs::path MakeTemporaryName(const fs::path& i_dir)
{
    static std::atomic<unsigned> number{0};
    return i_dir / (TemporaryPrefix + std::to_string(getpid()) + '-' + std::to_string(++number));
}

/// Marks as used now.
void Touch(const fs::path& i_path)
{
    std::error_code ignored;
    fs::last_write_time(i_path, fs::file_time_type::clock::now(), ignored);
}

} // namespace

ContentCache::ContentCache(std::filesystem::path i_dir, const Bounds& i_bounds)
    : _dir(std::move(i_dir))
    , _bounds(i_bounds)
{}

std::optional<ContentCache::Entry> ContentCache::_Read(const std::string& i_key) const
{
    const auto path = _dir / (i_key + TextExtension);
    std::optional<std::string> content;
    try {
        content = ReadBoundedFile(path, MaxTextBytes);
    } catch (const CommunicationException&) {
        // As damaged.
        content.emplace();
    }
    if (!content)
        return std::nullopt;
    // "<hash of the rest>\n<hash of the file or nothing>\n<text>"
    const std::size_t begin = HashLength + 1;
    const std::size_t end = content->find('\n', std::min(begin, content->size()));
    if (end == std::string::npos || content->compare(0, HashLength, HashOf(content->substr(begin))) != 0) {
        std::error_code ignored;
        fs::remove(path, ignored);
        return std::nullopt;
    }
    Touch(path);
    return Entry{content->substr(begin, end - begin), content->substr(end + 1)};
}

std::optional<std::string> ContentCache::FindText(const std::string& i_key) const
{
    auto entry = _Read(i_key);
    return entry ? std::optional(std::move(entry->text)) : std::nullopt;
}

bool ContentCache::CopyFile(const std::string& i_key, const std::filesystem::path& i_target,
                            const std::stop_token& i_stop) const
{
    const auto entry = _Read(i_key);
    if (!entry || entry->fileHash.size() != HashLength || entry->fileHash.find('/') != std::string::npos)
        return false;
    const auto source = _dir / (entry->fileHash + FileExtension);
    std::error_code ignored;
    if (CopyAndHash(source, i_target, i_stop) == entry->fileHash) {
        Touch(source);
        return true;
    }
    fs::remove(i_target, ignored);
    fs::remove(source, ignored);
    fs::remove(_dir / (i_key + TextExtension), ignored);
    return false;
}

void ContentCache::Keep(const std::string& i_key, const std::string& i_text, const std::filesystem::path& i_file,
                        const std::stop_token& i_stop) const
{
    if (_bounds.bytes == 0 || i_text.size() > MaxTextBytes / 2)
        return;
    std::error_code ignored;
    const auto temporary = MakeTemporaryName(_dir);
    try {
        MakePrivateFolder(_dir);
        Entry entry{{}, i_text};
        if (!i_file.empty()) {
            if (fs::file_size(i_file) > _bounds.bytes)
                return;
            entry.fileHash = CopyAndHash(i_file, temporary, i_stop);
        }
        if (i_file.empty() || !entry.fileHash.empty())
            _Keep(i_key, entry, temporary);
        _Sweep();
    } catch (const CommunicationException& failure) {
        fs::remove(temporary, ignored);
        if (failure.code() == ErrorCode::ProcessingAborted)
            throw;
    } catch (const fs::filesystem_error&) {
        fs::remove(temporary, ignored);
    }
}

void ContentCache::_Keep(const std::string& i_key, const Entry& i_entry, const std::filesystem::path& i_temporary) const
{
    // Named by its own content: of two processes that keep the same result in their own ways, each finds its own file.
    if (!i_entry.fileHash.empty())
        fs::rename(i_temporary, _dir / (i_entry.fileHash + FileExtension));
    const std::string rest = i_entry.fileHash + '\n' + i_entry.text;
    WritePrivateFile(_dir / (i_key + TextExtension), HashOf(rest) + '\n' + rest);
}

void ContentCache::_Sweep() const
{
    struct File
    {
        fs::path path;
        fs::file_time_type time;
        std::uintmax_t size;
    };
    std::vector<File> files;
    std::uintmax_t bytes = 0;
    std::error_code error;
    for (fs::directory_iterator entry(_dir, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        std::error_code gone;
        const File file{entry->path(), entry->last_write_time(gone),
                        entry->is_regular_file() ? entry->file_size(gone) : 0};
        if (gone)
            continue;
        bytes += file.size;
        files.push_back(file);
    }
    std::sort(files.begin(), files.end(), [](const File& i_a, const File& i_b) { return i_a.time < i_b.time; });
    const auto oldest = fs::file_time_type::clock::now() - _bounds.age;
    for (const File& file : files) {
        if (file.time >= oldest && bytes <= _bounds.bytes)
            break;
        fs::remove(file.path, error);
        bytes -= file.size;
    }
}

} // namespace MachineService::BuildProcessor
