#include "machinemanager/StoreDesk_p.h"

#include "machinemanager/store/FileNames.h"
#include "machinemanager/store/StoreBackup.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/RemoveFolder.h"
#include "tavsdk/Text.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::hours HeldUnused{1};
constexpr int MostAttempts = 3;
constexpr const char* StoreName = "jobs.sqlite";

/// Removes a file that was only needed for a while.
struct FileRemover
{
    ~FileRemover() { ::unlink(file.c_str()); }
    const std::filesystem::path file;
};

QJsonObject ToJson(const KeptFile& i_file)
{
    return {{QStringLiteral("sha256"), QString::fromStdString(i_file.hash)},
            {QStringLiteral("size"), static_cast<qint64>(i_file.size)}};
}

QDateTime ToDate(Time i_time)
{
    return QDateTime::fromMSecsSinceEpoch(i_time.time_since_epoch().count(), Qt::UTC);
}

/// The same file, without its bytes where the disk can do that.
void Link(const std::filesystem::path& i_from, const std::filesystem::path& i_to)
{
    std::filesystem::create_directories(i_to.parent_path());
    std::error_code error;
    std::filesystem::create_hard_link(i_from, i_to, error);
    if (error)
        std::filesystem::copy_file(i_from, i_to);
}

/// Of a file while it comes: the same for everybody who sends it.
boost::uuids::uuid MakeUpload(const std::string& i_hash)
{
    return boost::uuids::string_generator()(i_hash.substr(0, 32));
}

} // namespace

std::string WriteContents(const BackupContents& i_contents)
{
    QJsonArray files;
    for (const auto& file : i_contents.files)
        files.append(ToJson(file));
    QJsonArray missing;
    for (const auto& hash : i_contents.missing)
        missing.append(QString::fromStdString(hash));
    const QJsonObject contents{
        {QStringLiteral("format"), QStringLiteral("machine-manager-backup")},
        {QStringLiteral("version"), 1},
        {QStringLiteral("id"), QString::fromStdString(boost::uuids::to_string(i_contents.id))},
        {QStringLiteral("made"), ToDate(i_contents.made).toString(Qt::ISODateWithMs)},
        {QStringLiteral("jobs"), static_cast<qint64>(i_contents.jobs)},
        {QStringLiteral("store"), ToJson(i_contents.store)},
        {QStringLiteral("files"), files},
        {QStringLiteral("missing"), missing},
    };
    return QJsonDocument(contents).toJson(QJsonDocument::Compact).toStdString();
}

void StoreDesk::Impl::Require(const Actor& i_actor)
{
    if (i_actor.role < Role::Operate)
        throw ManagerError(Kind::Forbidden, "You are not allowed to do this; ask the operator of the machines.");
}

void StoreDesk::Impl::Touch()
{
    const TavSDK::MutexLock lock(mutex);
    for (auto& [id, entry] : held)
        entry.used = Clock::now();
}

void StoreDesk::Impl::EndOld()
{
    const TavSDK::MutexLock lock(mutex);
    std::erase_if(held, [](const auto& i_entry) { return Clock::now() - i_entry.second.used > HeldUnused; });
}

BackupContents StoreDesk::Impl::Describe()
{
    BackupContents contents;
    contents.id = boost::uuids::random_generator()();
    contents.made = store.Now();
    const FileRemover copy{files.GetFolder() / "incoming" / boost::uuids::to_string(contents.id)};
    store.Backup(copy.file);
    const StoreBackup backup(copy.file);
    contents.jobs = backup.CountJobs();
    contents.store = files.Add(copy.file, StoreName);
    for (const auto& hash : backup.GetFiles()) {
        std::error_code gone;
        const auto size = files.Has(hash) ? std::filesystem::file_size(files.GetPath(hash), gone) : 0;
        if (files.Has(hash) && !gone)
            contents.files.push_back({{}, hash, size});
        else
            contents.missing.push_back(hash);
    }
    return contents;
}

std::filesystem::path StoreDesk::Impl::FillAside(const std::filesystem::path& i_folder)
try {
    const auto hold = files.Hold();
    const auto contents = Describe();
    const auto link = [&](const KeptFile& i_file) {
        Link(files.GetPath(i_file.hash), i_folder / "files" / i_file.hash.substr(0, 2) / i_file.hash);
    };
    link(contents.store);
    std::for_each(contents.files.begin(), contents.files.end(), link);
    TavSDK::AtomicFile file(i_folder / "contents.json");
    file.Write(WriteContents(contents));
    file.Commit();
    return i_folder;
} catch (const std::exception& failure) {
    TavSDK::RemoveFolder(i_folder);
    throw ManagerError(Kind::Storage, "What is there cannot be set aside in " +
                                          TavSDK::Quote(TavSDK::ShowPath(i_folder)) + ": " + failure.what() +
                                          ". Make room, or look at the rights to the folder.");
}

std::filesystem::path StoreDesk::Impl::SetAside()
{
    const auto date = ToDate(store.Now()).toString(QStringLiteral("yyyyMMdd-HHmmss")).toStdString();
    const auto top = files.GetFolder() / FileStore::SetAsideFolder;
    std::error_code error;
    std::filesystem::create_directory(top, error);
    auto folder = top / date;
    // Several in one second.
    for (int number = 2; !error && !std::filesystem::create_directory(folder, error); ++number)
        folder = top / (date + '-' + std::to_string(number));
    if (error)
        throw ManagerError(Kind::Storage, "The folder " + TavSDK::Quote(TavSDK::ShowPath(folder)) +
                                              " cannot be made: " + TavSDK::ErrnoText(error.value()) +
                                              ". Look at the rights to it.");
    std::filesystem::permissions(top, std::filesystem::perms::owner_all, error);
    return FillAside(folder);
}

StoreDesk::StoreDesk(JobStore& io_store, FileStore& io_files)
    : _impl(std::make_unique<Impl>(io_store, io_files))
{}

StoreDesk::~StoreDesk() = default;

BackupContents StoreDesk::BeginBackup(const Actor& i_actor)
{
    Impl::Require(i_actor);
    _impl->EndOld();
    // Before the copy is made: no file that it names may go.
    auto hold = _impl->files.Hold();
    auto contents = _impl->Describe();
    const TavSDK::MutexLock lock(_impl->mutex);
    _impl->held[contents.id] = {std::move(hold), Clock::now()};
    return contents;
}

void StoreDesk::EndBackup(const Actor& i_actor, const boost::uuids::uuid& i_id)
{
    Impl::Require(i_actor);
    const TavSDK::MutexLock lock(_impl->mutex);
    _impl->held.erase(i_id);
}

void StoreDesk::EndOldBackups()
{
    _impl->EndOld();
}

std::vector<KeptFile> StoreDesk::ListFiles(const Actor& i_actor) const
{
    Impl::Require(i_actor);
    return _impl->files.List();
}

std::pair<KeptFile, std::filesystem::path> StoreDesk::GetFile(const Actor& i_actor, const std::string& i_hash) const
{
    Impl::Require(i_actor);
    _impl->Touch();
    const auto path = _impl->files.GetPath(i_hash);
    std::error_code gone;
    const auto size = std::filesystem::file_size(path, gone);
    if (gone)
        throw ManagerError(Kind::NotFound, "The file " + TavSDK::Quote(i_hash) + " is there no more.");
    return {{i_hash, i_hash, size}, path};
}

std::uint64_t StoreDesk::ReceiveFile(const Actor& i_actor, const KeptFile& i_file, std::uint64_t i_offset,
                                     std::string_view i_bytes)
{
    Impl::Require(i_actor);
    _impl->Touch();
    if (!IsFileHash(i_file.hash))
        throw ManagerError(Kind::BadInput, "The name " + TavSDK::Quote(i_file.hash, 80) +
                                               " is no SHA-256 of 64 lower-case hexadecimal characters.");
    const auto upload = MakeUpload(i_file.hash);
    // The last piece comes again when its sender did not hear the answer. One that begins anew replaces a damaged file.
    if (i_offset > 0 && _impl->files.GetReceived(upload) == 0 && _impl->files.Has(i_file.hash))
        return i_file.size;
    _impl->files.Receive(upload, i_offset, i_bytes, i_file.size);
    const auto received = _impl->files.GetReceived(upload);
    if (received == i_file.size)
        _impl->files.Finish(upload, i_file);
    return received;
}

RestoreOutcome StoreDesk::Restore(const Actor& i_actor, const RestoreRequest& i_request)
{
    Impl::Require(i_actor);
    const auto hold = _impl->files.Hold();
    const StoreBackup backup(_impl->files.GetPath(i_request.store));
    const auto needed = backup.GetFiles();
    const auto missing = std::count_if(needed.begin(), needed.end(),
                                       [&](const std::string& i_hash) { return !_impl->files.Has(i_hash); });
    if (missing > 0 && !i_request.mayLackFiles)
        throw ManagerError(Kind::Conflict,
                           std::to_string(missing) + " files of the backup's jobs are not here. Send them first.");
    RestoreOrder order{i_request.mayReplace, i_actor.name,
                       "Restored from a backup; release it unless it was printed since that was made."};
    RestoreOutcome outcome;
    outcome.jobs = backup.CountJobs();
    for (int attempt = 1;; ++attempt) {
        order.unchangedSince = _impl->store.GetMark();
        if (i_request.mayReplace)
            outcome.aside = _impl->SetAside();
        try {
            outcome.held = _impl->store.Restore(backup, order);
            return outcome;
        } catch (const ManagerError& failure) {
            if (!outcome.aside.empty())
                TavSDK::RemoveFolder(outcome.aside);
            // Somebody may have handed a job in at this moment; who has it cannot be told otherwise.
            const bool isRace = failure.GetKind() == Kind::Conflict && _impl->store.GetMark() != order.unchangedSince;
            if (!isRace || attempt == MostAttempts)
                throw;
        }
    }
}

} // namespace MachineService::MachineManager
