#include "machinectl/Backup.h"

#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"
#include "hosting/jobs/JobsError.h"
#include "hosting/jobs/JobsJson.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QJsonDocument>

#include <map>

namespace MachineCtl {

namespace {

using namespace Hosting;

constexpr std::uint64_t LargestContents = 256 << 20;
constexpr int KnownVersion = 1;
constexpr std::size_t HashLength = 64;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::Backup)
};

/// What is in a backup, as it was read.
struct Parts
{
    std::string contents;
    std::map<std::string, std::uint64_t> sound; ///< sizes by the hash
};

Parts ReadParts(const IBackupReader& i_reader, const std::function<void(std::uint64_t)>& i_progress,
                const std::stop_token& i_stop)
{
    Parts parts;
    std::uint64_t done = 0;
    i_reader.ForEach([&](const std::string& i_name, std::uint64_t i_size, const std::function<std::string()>& i_read) {
        const bool isContents = i_name == ContentsName && i_size <= LargestContents;
        QCryptographicHash hash(QCryptographicHash::Sha256);
        for (auto piece = i_read(); !piece.empty(); piece = i_read()) {
            if (i_stop.stop_requested())
                throw Interruption();
            if (isContents)
                parts.contents += piece;
            hash.addData(piece.data(), static_cast<int>(piece.size()));
            done += piece.size();
            i_progress(done);
        }
        const auto name = FindHash(i_name);
        if (!name.empty() && hash.result().toHex().toStdString() == name)
            parts.sound[name] = i_size;
    });
    return parts;
}

[[noreturn]] void Refuse(const QString& i_sentence, const std::filesystem::path& i_source)
{
    throw HostingError(i_sentence.arg(ShowBackupPath(i_source)));
}

Jobs::BackupContents ParseContents(const std::string& i_text, const std::filesystem::path& i_source)
{
    if (i_text.empty())
        Refuse(Texts::tr("The backup %1 is no backup, or is not whole: what it holds is told at its end, and that is "
                         "missing. Copy it once more, or take another one."),
               i_source);
    const auto object = QJsonDocument::fromJson(QByteArray::fromStdString(i_text)).object();
    if (object.value(QLatin1String("format")).toString() != QLatin1String("machine-manager-backup"))
        Refuse(Texts::tr("%1 is no backup of a Machine Manager, or is damaged. Name another one."), i_source);
    if (object.value(QLatin1String("version")).toInt() > KnownVersion)
        Refuse(Texts::tr("A newer version of this program has made the backup %1. Restore it with that one."),
               i_source);
    try {
        return Jobs::ParseBackupContents(object);
    } catch (const JobsError&) {
        Refuse(Texts::tr("%1 is no backup of a Machine Manager, or is damaged. Name another one."), i_source);
    }
}

} // namespace

std::string MakePartName(const std::string& i_sha256)
{
    return "files/" + i_sha256.substr(0, 2) + '/' + i_sha256;
}

std::string FindHash(const std::string& i_part_name)
{
    const auto hash = i_part_name.substr(i_part_name.rfind('/') + 1);
    const bool isHash = hash.size() == HashLength && hash.find_first_not_of("0123456789abcdef") == std::string::npos;
    return isHash && i_part_name == MakePartName(hash) ? hash : std::string();
}

QString ShowBackupPath(const std::filesystem::path& i_path)
{
    return QString::fromStdString(TavSDK::Quote(TavSDK::ShowPath(i_path)));
}

std::unique_ptr<IBackupWriter> MakeBackupWriter(const std::filesystem::path& i_target)
{
    std::error_code ignored;
    if (!i_target.has_filename() || std::filesystem::is_directory(i_target, ignored))
        return MakeFolderWriter(i_target);
    return MakeArchiveWriter(i_target);
}

std::unique_ptr<IBackupReader> OpenBackup(const std::filesystem::path& i_source)
{
    std::error_code ignored;
    return std::filesystem::is_directory(i_source, ignored) ? MakeFolderReader(i_source) : MakeArchiveReader(i_source);
}

Jobs::BackupContents CheckBackup(const IBackupReader& i_reader, const std::filesystem::path& i_source,
                                 const std::function<void(std::uint64_t)>& i_progress, const std::stop_token& i_stop)
{
    const auto parts = ReadParts(i_reader, i_progress, i_stop);
    auto contents = ParseContents(parts.contents, i_source);
    auto needed = contents.files;
    needed.push_back(contents.store);
    for (const auto& file : needed) {
        const auto found = parts.sound.find(file.sha256);
        if (found == parts.sound.end() || found->second != file.size)
            throw HostingError(Texts::tr("The backup %1 is damaged: its file %2 is missing or has changed. Copy it "
                                         "once more, or take another one.")
                                   .arg(ShowBackupPath(i_source), QString::fromStdString(file.sha256)));
    }
    return contents;
}

} // namespace MachineCtl
