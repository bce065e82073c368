#include "DocumentCopies.h"

#include "tavam/FileError.h"

#include <QString>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Vexlor {

namespace {

std::string DescribeErrno()
{
    return std::generic_category().message(errno);
}

/// A file under a temporary name, which goes unless it is renamed.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::filesystem::path& i_folder)
        : _path((i_folder / ".copy-XXXXXX").string())
        , _file(::mkostemp(_path.data(), O_CLOEXEC))
    {
        if (_file < 0)
            throw TavAM::FileError("A file cannot be made in '" + i_folder.string() + "': " + DescribeErrno() + ".");
        ::fchmod(_file, S_IRUSR | S_IWUSR);
    }
    ~TemporaryFile()
    {
        if (_file >= 0)
            ::close(_file);
        if (!_isRenamed)
            ::unlink(_path.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    bool Write(const char* ip_bytes, std::size_t i_size)
    {
        while (i_size > 0) {
            const auto written = ::write(_file, ip_bytes, i_size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0)
                return false;
            ip_bytes += written;
            i_size -= static_cast<std::size_t>(written);
        }
        return true;
    }

    /// Some file systems report a full disk only here.
    bool Close() { return ::close(std::exchange(_file, -1)) == 0; }

    bool Rename(const std::filesystem::path& i_path)
    {
        return _isRenamed = ::rename(_path.c_str(), i_path.c_str()) == 0;
    }
    /// False with EEXIST when the name is taken.
    bool RenameToFreeName(const std::filesystem::path& i_path)
    {
        if (::renameat2(AT_FDCWD, _path.c_str(), AT_FDCWD, i_path.c_str(), RENAME_NOREPLACE) == 0)
            _isRenamed = true;
        else if (errno == EINVAL || errno == ENOSYS) // a file system that cannot; the linked name is as exclusive
            return ::link(_path.c_str(), i_path.c_str()) == 0;
        return _isRenamed;
    }

private:
    std::string _path;
    int _file;
    bool _isRenamed = false;
};

[[noreturn]] void ThrowNotWritten(const std::filesystem::path& i_path)
{
    const auto reason = DescribeErrno();
    throw TavAM::FileError("'" + i_path.string() + "' cannot be written: " + reason + ".");
}

void CopyBytes(const std::filesystem::path& i_from, TemporaryFile& io_to, const std::filesystem::path& i_folder)
{
    // Not through links or pipes: the file comes from a machine.
    const int from = ::open(i_from.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    const struct Closer
    {
        ~Closer()
        {
            if (file >= 0)
                ::close(file);
        }
        int file;
    } closer{from};
    struct stat status = {};
    if (from < 0 || ::fstat(from, &status) != 0)
        throw TavAM::FileError("'" + i_from.string() + "' cannot be read: " + DescribeErrno() + ".");
    if (!S_ISREG(status.st_mode))
        throw TavAM::FileError("'" + i_from.string() + "' cannot be read: it is not a file.");
    std::array<char, 1U << 16U> buffer;
    for (;;) {
        const auto read = ::read(from, buffer.data(), buffer.size());
        if (read < 0 && errno == EINTR)
            continue;
        if (read < 0)
            throw TavAM::FileError("'" + i_from.string() + "' cannot be read: " + DescribeErrno() + ".");
        if (read == 0)
            return;
        if (!io_to.Write(buffer.data(), static_cast<std::size_t>(read)))
            ThrowNotWritten(i_folder / i_from.filename());
    }
}

std::filesystem::path CopyDocument(const std::filesystem::path& i_file, const std::filesystem::path& i_folder)
{
    constexpr int maxNumber = 10'000;
    const std::filesystem::path name = SanitizeFileName(i_file.filename().string());
    TemporaryFile copy(i_folder);
    CopyBytes(i_file, copy, i_folder);
    if (!copy.Close())
        ThrowNotWritten(i_folder / name);
    for (int number = 1; number <= maxNumber; ++number) {
        auto path = i_folder / name;
        if (number > 1)
            path = i_folder / (name.stem().string() + " (" + std::to_string(number) + ")" + name.extension().string());
        if (copy.RenameToFreeName(path))
            return path;
        if (errno != EEXIST)
            break;
    }
    ThrowNotWritten(i_folder / name);
}

/// Cut between characters, never within one.
QString CutToBytes(QString i_text, int i_bytes)
{
    while (i_text.toUtf8().size() > i_bytes)
        i_text.chop(i_text.size() > 1 && i_text.at(i_text.size() - 1).isLowSurrogate() ? 2 : 1);
    return i_text;
}

} // namespace

void WriteFileAtomically(const std::filesystem::path& i_path, std::string_view i_bytes)
{
    TemporaryFile file(i_path.has_parent_path() ? i_path.parent_path() : ".");
    if (!file.Write(i_bytes.data(), i_bytes.size()) || !file.Close() || !file.Rename(i_path))
        ThrowNotWritten(i_path);
}

std::string SanitizeFileName(const std::string& i_name)
{
    constexpr int maxBytes = 200;
    constexpr int maxExtensionBytes = 20;
    QString name;
    for (const QChar character : QString::fromStdString(i_name)) {
        const auto category = character.category();
        // Direction marks can make "gpj.exe" read "exe.jpg".
        const bool isHidden = category == QChar::Other_Control || category == QChar::Other_Format ||
                              category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
        if (!isHidden)
            name += QStringLiteral("/\\:*?\"<>|").contains(character) ? QLatin1Char('_') : character;
    }
    name = name.trimmed();
    while (name.startsWith(QLatin1Char('.')))
        name.remove(0, 1);
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    const auto extension = dot > 0 ? CutToBytes(name.mid(dot), maxExtensionBytes) : QString();
    const auto stem = CutToBytes(dot > 0 ? name.left(dot) : name, maxBytes - extension.toUtf8().size());
    return (stem.isEmpty() ? QStringLiteral("document") : stem).toStdString() + extension.toStdString();
}

std::vector<std::filesystem::path> CopyDocuments(const std::vector<std::filesystem::path>& i_files,
                                                 const std::filesystem::path& i_folder)
{
    std::error_code error;
    if (std::filesystem::create_directories(i_folder, error))
        std::filesystem::permissions(i_folder, std::filesystem::perms::owner_all, error);
    if (error)
        throw TavAM::FileError("The folder '" + i_folder.string() + "' cannot be made: " + error.message() + ".");
    std::vector<std::filesystem::path> copies;
    try {
        for (const auto& file : i_files)
            copies.push_back(CopyDocument(file, i_folder));
    } catch (...) {
        for (const auto& copy : copies)
            std::filesystem::remove(copy, error);
        throw;
    }
    return copies;
}

} // namespace Vexlor
