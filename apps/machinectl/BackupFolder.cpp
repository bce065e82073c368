#include "machinectl/Backup.h"

#include "hosting/HostingError.h"
#include "hosting/jobs/JobsJson.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <optional>
#include <set>

namespace MachineCtl {

namespace {

using namespace Hosting;

constexpr std::size_t PieceSize = 4 << 20;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::BackupFolder)
};

[[noreturn]] void FailToWrite(const std::filesystem::path& i_path, const QString& i_reason)
{
    throw HostingError(Texts::tr("The backup %1 cannot be written: %2. Make room, or name another place.")
                           .arg(ShowBackupPath(i_path), i_reason));
}

QString ShowReason(const std::error_code& i_error)
{
    return QString::fromStdString(i_error.message());
}

/// What lies in files/XX.
std::vector<std::filesystem::path> ListParts(const std::filesystem::path& i_folder)
{
    std::vector<std::filesystem::path> parts;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(i_folder / "files", error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored))
            parts.push_back(entry->path());
    }
    return parts;
}

class FolderWriter final : public IBackupWriter
{
public:
    explicit FolderWriter(const std::filesystem::path& i_folder)
        : _folder(i_folder)
    {
        std::error_code error;
        std::filesystem::create_directories(_folder, error);
        std::error_code ignored;
        const bool isForeign = !error && !std::filesystem::is_empty(_folder, error) &&
                               !std::filesystem::exists(_folder / ContentsName, ignored) &&
                               !std::filesystem::is_directory(_folder / "files", ignored);
        if (error)
            FailToWrite(_folder, ShowReason(error));
        if (isForeign)
            throw HostingError(Texts::tr("The folder %1 holds something else than a backup. Name one that is empty, or "
                                         "new, or has an earlier backup.")
                                   .arg(ShowBackupPath(_folder)));
        // Jobs are nobody else's business.
        std::filesystem::permissions(_folder, std::filesystem::perms::owner_all, error);
    }

    bool Has(const Jobs::StoredFile& i_file) const override
    {
        std::error_code error;
        return std::filesystem::file_size(_folder / MakePartName(i_file.sha256), error) == i_file.size && !error;
    }
    void Begin(const Jobs::StoredFile& i_file) override
    {
        const auto path = _folder / MakePartName(i_file.sha256);
        std::error_code error;
        std::filesystem::create_directories(path.parent_path(), error);
        if (error)
            FailToWrite(_folder, ShowReason(error));
        _Try([&] { _part.emplace(path); });
    }
    void Write(std::string_view i_bytes) override
    {
        _Try([&] { _part->Write(i_bytes); });
    }
    void End(bool i_is_good) override
    {
        if (i_is_good)
            _Try([&] { _part->Commit(); });
        _part.reset();
    }
    void Commit(const Jobs::BackupContents& i_contents) override
    {
        _Try([&] {
            TavSDK::AtomicFile file(_folder / ContentsName);
            file.Write(
                QJsonDocument(Jobs::MakeBackupContents(i_contents)).toJson(QJsonDocument::Compact).toStdString());
            file.Commit();
        });
        // What only an earlier backup needed. From here on nothing can go wrong with this one.
        std::set<std::string> needed{i_contents.store.sha256};
        for (const auto& file : i_contents.files)
            needed.insert(file.sha256);
        for (const auto& part : ListParts(_folder)) {
            std::error_code ignored;
            if (needed.count(part.filename().native()) == 0)
                std::filesystem::remove(part, ignored);
        }
    }

private:
    template <class Action>
    void _Try(const Action& i_action)
    {
        try {
            i_action();
        } catch (const TavSDK::FileError& failure) {
            FailToWrite(_folder, QString::fromUtf8(failure.what()));
        }
    }

    const std::filesystem::path _folder;
    std::optional<TavSDK::AtomicFile> _part;
};

class FolderReader final : public IBackupReader
{
public:
    explicit FolderReader(std::filesystem::path i_folder)
        : _folder(std::move(i_folder))
    {}

    void ForEach(const Take& i_take) const override
    {
        for (const auto& part : ListParts(_folder))
            mgp_Read(part, MakePartName(part.filename().native()), i_take);
        std::error_code ignored;
        if (std::filesystem::exists(_folder / ContentsName, ignored))
            mgp_Read(_folder / ContentsName, ContentsName, i_take);
    }

private:
    static void mgp_Read(const std::filesystem::path& i_path, const std::string& i_name, const Take& i_take)
    {
        try {
            TavSDK::InputFile file(i_path, TavSDK::InputFile::Links::Refuse);
            i_take(i_name, file.GetSize(), [&] {
                std::string piece(PieceSize, '\0');
                piece.resize(file.Read(piece.data(), piece.size()));
                return piece;
            });
        } catch (const TavSDK::FileError& failure) {
            throw HostingError(Texts::tr("The file %1 of the backup cannot be read: %2. Take another backup.")
                                   .arg(ShowBackupPath(i_path), QString::fromUtf8(failure.what())));
        }
    }

    const std::filesystem::path _folder;
};

} // namespace

std::unique_ptr<IBackupWriter> MakeFolderWriter(const std::filesystem::path& i_folder)
{
    return std::make_unique<FolderWriter>(i_folder);
}

std::unique_ptr<IBackupReader> MakeFolderReader(const std::filesystem::path& i_folder)
{
    return std::make_unique<FolderReader>(i_folder);
}

} // namespace MachineCtl
