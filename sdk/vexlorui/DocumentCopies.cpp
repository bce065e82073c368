#include "DocumentCopies.h"

#include "tavam/AtomicFile.h"
#include "tavam/FileError.h"

#include <QString>

#include <array>
#include <cerrno>
#include <functional>
#include <optional>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Vexlor {

namespace {

std::string DescribeErrno()
{
    return std::generic_category().message(errno);
}

/// Names the file in what the action fails with.
template <class Action>
auto Writing(const std::filesystem::path& i_path, const Action& i_action)
{
    try {
        return i_action();
    } catch (const TavAM::FileError& error) {
        throw TavAM::FileError("'" + i_path.string() + "' cannot be written: " + error.what() + ".");
    }
}

void CopyBytes(const std::filesystem::path& i_from, const std::function<void(std::string_view)>& i_write)
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
        i_write({buffer.data(), static_cast<std::size_t>(read)});
    }
}

std::filesystem::path CopyDocument(const std::filesystem::path& i_file, const std::filesystem::path& i_folder)
{
    constexpr int maxNumber = 10'000;
    const std::filesystem::path name = SanitizeFileName(i_file.filename().string());
    const auto target = i_folder / name;
    std::optional<TavAM::AtomicFile> copy;
    Writing(target, [&] { copy.emplace(target); });
    CopyBytes(i_file, [&](std::string_view i_bytes) { Writing(target, [&] { copy->Write(i_bytes); }); });
    for (int number = 1; number <= maxNumber; ++number) {
        auto path = target;
        if (number > 1)
            path = i_folder / (name.stem().string() + " (" + std::to_string(number) + ")" + name.extension().string());
        if (Writing(target, [&] { return copy->TryCommitAs(path); }))
            return path;
    }
    throw TavAM::FileError("'" + target.string() + "' cannot be written: too many files have its name.");
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
    Writing(i_path, [&] {
        TavAM::AtomicFile file(i_path);
        file.Write(i_bytes);
        file.Commit();
    });
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
