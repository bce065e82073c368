#include "vexlorui/DocumentCopies.h"

#include "tavam/FileError.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"

#include <QCoreApplication>
#include <QString>

#include <optional>
#include <system_error>

namespace Vexlor {

namespace {

[[noreturn]] void ThrowUnwritable(const std::filesystem::path& i_path, const QString& i_why)
{
    throw TavAM::FileError(QCoreApplication::translate("Vexlor::DocumentCopies", "'%1' cannot be written: %2.")
                               .arg(QString::fromStdString(TavSDK::ShowPath(i_path)), i_why)
                               .toStdString());
}

[[noreturn]] void ThrowUnreadable(const std::filesystem::path& i_path, const QString& i_why)
{
    throw TavAM::FileError(QCoreApplication::translate("Vexlor::DocumentCopies", "'%1' cannot be read: %2.")
                               .arg(QString::fromStdString(TavSDK::ShowPath(i_path)), i_why)
                               .toStdString());
}

/// Names the file in what the action fails with.
template <class Action>
auto Writing(const std::filesystem::path& i_path, const Action& i_action)
{
    try {
        return i_action();
    } catch (const TavAM::FileError& error) {
        ThrowUnwritable(i_path, QString::fromUtf8(error.what()));
    }
}

TavSDK::InputFile OpenDocument(const std::filesystem::path& i_path)
{
    try {
        return TavSDK::InputFile(i_path, TavSDK::InputFile::Links::Refuse);
    } catch (const TavAM::FileError& error) {
        ThrowUnreadable(i_path, QString::fromUtf8(error.what()));
    }
}

std::filesystem::path CopyDocument(const std::filesystem::path& i_file, const std::filesystem::path& i_folder)
{
    constexpr int maxNumber = 10'000;
    const std::filesystem::path name = SanitizeFileName(i_file.filename().string());
    const auto target = i_folder / name;
    auto source = OpenDocument(i_file);
    std::optional<TavSDK::AtomicFile> copy;
    Writing(target, [&] { copy.emplace(target).Copy(source); });
    for (int number = 1; number <= maxNumber; ++number) {
        auto path = target;
        if (number > 1)
            path = i_folder / (name.stem().string() + " (" + std::to_string(number) + ")" + name.extension().string());
        if (Writing(target, [&] { return copy->TryCommitAs(path); }))
            return path;
    }
    ThrowUnwritable(target, QCoreApplication::translate("Vexlor::DocumentCopies", "too many files have its name"));
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
        TavSDK::AtomicFile file(i_path);
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
        throw TavAM::FileError(
            QCoreApplication::translate("Vexlor::DocumentCopies", "The folder '%1' cannot be made: %2.")
                .arg(QString::fromStdString(TavSDK::ShowPath(i_folder)),
                     QString::fromStdString(TavSDK::ErrnoText(error.value())))
                .toStdString());
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
