#include "machinectl/Backup.h"

#include "hosting/HostingError.h"
#include "hosting/jobs/JobsJson.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"

#include <QCoreApplication>
#include <QJsonDocument>

#include <archive.h>
#include <archive_entry.h>

#include <ctime>

namespace MachineCtl {

namespace {

using namespace Hosting;

constexpr std::size_t PieceSize = 4 << 20;
constexpr std::size_t BlockSize = 1 << 16;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::BackupArchive)
};

struct ArchiveEnd
{
    void operator()(archive* ip_archive) const { archive_free(ip_archive); }
};
using Archive = std::unique_ptr<archive, ArchiveEnd>;

struct EntryEnd
{
    void operator()(archive_entry* ip_entry) const { archive_entry_free(ip_entry); }
};

/// A tar archive that gets its name when it is whole.
class ArchiveWriter final : public IBackupWriter
{
public:
    explicit ArchiveWriter(const std::filesystem::path& i_path)
    try : _path(i_path), _file(i_path), _archive(archive_write_new()) {
        std::error_code ignored;
        if (std::filesystem::exists(std::filesystem::symlink_status(i_path, ignored)))
            throw HostingError(Texts::tr("There is a file %1 already; name another one.").arg(ShowBackupPath(i_path)));
        // Names are short and in ASCII: nothing but a large size needs more than the oldest form.
        _Check(archive_write_set_format_pax_restricted(_archive.get()));
        _Check(archive_write_add_filter_none(_archive.get()));
        _Check(archive_write_open_fd(_archive.get(), _file.GetDescriptor()));
    } catch (const TavSDK::FileError& failure) {
        mgp_Fail(i_path, QString::fromUtf8(failure.what()));
    }

    bool Has(const Jobs::StoredFile&) const override { return false; }
    void Begin(const Jobs::StoredFile& i_file) override { _Begin(MakePartName(i_file.sha256), i_file.size); }
    void Write(std::string_view i_bytes) override
    {
        while (!i_bytes.empty()) {
            const auto count = archive_write_data(_archive.get(), i_bytes.data(), i_bytes.size());
            if (count <= 0)
                _Fail();
            i_bytes.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    void End(bool) override { _Check(archive_write_finish_entry(_archive.get())); }
    void Commit(const Jobs::BackupContents& i_contents) override
    {
        const auto text =
            QJsonDocument(Jobs::MakeBackupContents(i_contents)).toJson(QJsonDocument::Compact).toStdString();
        _Begin(ContentsName, text.size());
        Write(text);
        End(true);
        _Check(archive_write_close(_archive.get()));
        try {
            _file.Commit();
        } catch (const TavSDK::FileError& failure) {
            mgp_Fail(_path, QString::fromUtf8(failure.what()));
        }
    }

private:
    [[noreturn]] static void mgp_Fail(const std::filesystem::path& i_path, const QString& i_reason)
    {
        throw HostingError(Texts::tr("The backup %1 cannot be written: %2. Make room, or name another place.")
                               .arg(ShowBackupPath(i_path), i_reason));
    }
    [[noreturn]] void _Fail() const { mgp_Fail(_path, QString::fromUtf8(archive_error_string(_archive.get()))); }
    void _Check(int i_result) const
    {
        if (i_result < ARCHIVE_WARN)
            _Fail();
    }
    void _Begin(const std::string& i_name, std::uint64_t i_size)
    {
        const std::unique_ptr<archive_entry, EntryEnd> entry(archive_entry_new());
        archive_entry_set_pathname(entry.get(), i_name.c_str());
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(i_size));
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), 0600);
        archive_entry_set_mtime(entry.get(), std::time(nullptr), 0);
        _Check(archive_write_header(_archive.get(), entry.get()));
    }

    const std::filesystem::path _path;
    TavSDK::AtomicFile _file;
    // Goes before the file, into which it writes.
    const Archive _archive;
};

class ArchiveReader final : public IBackupReader
{
public:
    explicit ArchiveReader(std::filesystem::path i_path)
        : _path(std::move(i_path))
    {}

    void ForEach(const Take& i_take) const override
    {
        try {
            const TavSDK::InputFile file(_path);
            const Archive opened(archive_read_new());
            archive_read_support_format_tar(opened.get());
            archive_read_support_filter_none(opened.get());
            if (archive_read_open_fd(opened.get(), file.GetDescriptor(), BlockSize) < ARCHIVE_WARN)
                _Refuse();
            archive_entry* entry = nullptr;
            for (int result = 0; (result = archive_read_next_header(opened.get(), &entry)) != ARCHIVE_EOF;) {
                if (result < ARCHIVE_WARN)
                    _Refuse();
                const auto* const name = archive_entry_pathname(entry);
                if (!name || archive_entry_filetype(entry) != AE_IFREG)
                    continue;
                i_take(name, static_cast<std::uint64_t>(archive_entry_size(entry)), [&] {
                    std::string piece(PieceSize, '\0');
                    const auto count = archive_read_data(opened.get(), piece.data(), piece.size());
                    if (count < 0)
                        _Refuse();
                    piece.resize(static_cast<std::size_t>(count));
                    return piece;
                });
            }
        } catch (const TavSDK::FileError& failure) {
            throw HostingError(Texts::tr("The backup %1 cannot be read: %2. Name another one.")
                                   .arg(ShowBackupPath(_path), QString::fromUtf8(failure.what())));
        }
    }

private:
    [[noreturn]] void _Refuse() const
    {
        throw HostingError(
            Texts::tr("The backup %1 is damaged, ends before its end, or is no tar archive. Copy it once "
                      "more, or take another one.")
                .arg(ShowBackupPath(_path)));
    }

    const std::filesystem::path _path;
};

} // namespace

std::unique_ptr<IBackupWriter> MakeArchiveWriter(const std::filesystem::path& i_file)
{
    return std::make_unique<ArchiveWriter>(i_file);
}

std::unique_ptr<IBackupReader> MakeArchiveReader(const std::filesystem::path& i_file)
{
    return std::make_unique<ArchiveReader>(i_file);
}

} // namespace MachineCtl
