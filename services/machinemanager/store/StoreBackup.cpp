#include "machinemanager/store/StoreBackup.h"

#include "machinemanager/store/JobStore_p.h"
#include "machinemanager/store/Migrations.h"
#include "machinemanager/store/SetAside.h"
#include "machinemanager/store/TableCopy.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/RemoveFolder.h"
#include "tavsdk/Text.h"

#include <cerrno>
#include <cstdlib>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

QString Quoted(const std::filesystem::path& i_file)
{
    auto text = QString::fromStdString(TavSDK::PathToUtf8(i_file));
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

std::string Show(const std::filesystem::path& i_file)
{
    return TavSDK::Quote(TavSDK::ShowPath(i_file));
}

std::unique_ptr<const Dialect> MakeSqliteDialect(const std::filesystem::path& i_file)
{
    StoreAddress address;
    address.file = std::filesystem::absolute(i_file);
    return MakeDialect(std::move(address));
}

/// Removes what SQLite writes beside a file; it is there when writing failed.
struct LogRemover
{
    ~LogRemover()
    {
        for (const char* ending : {"-wal", "-shm", "-journal"}) {
            auto path = file;
            path += ending;
            std::error_code ignored;
            std::filesystem::remove(path, ignored);
        }
    }
    const std::filesystem::path file;
};

/// All rows of one moment, in a SQLite store of the same version.
void CopyToFile(Connection& io_from, const std::filesystem::path& i_file, const Transaction::Log& i_log)
{
    const auto dialect = MakeSqliteDialect(i_file);
    const LogRemover remover{i_file};
    {
        ConnectionPool pool(*dialect);
        Migrate(pool, i_log);
        Transaction transaction(pool, i_log);
        // The daemons' own transaction would take a number, and wait for rows that are locked.
        io_from.Run(QStringLiteral("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"));
        try {
            CopyTables(io_from, transaction.GetConnection());
            io_from.Run(QStringLiteral("COMMIT"));
        } catch (...) {
            io_from.GiveUp();
            throw;
        }
        transaction.Commit();
    }
    // A backup is one file: nothing of it may stay in a log beside it.
    Connection(*dialect).Run(QStringLiteral("PRAGMA journal_mode = DELETE"));
}

/// A folder for the copy of a backup, which is brought up to date there.
class WorkFolder
{
public:
    WorkFolder()
    {
        std::string path = TavSDK::GetTemporaryFolder() / "machineservice-restore-XXXXXX";
        if (!::mkdtemp(path.data()))
            throw TavSDK::FileError(TavSDK::ErrnoText(errno));
        _path = path;
    }
    ~WorkFolder() { TavSDK::RemoveFolder(_path); }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    std::filesystem::path GetFile() const { return _path / "backup.db"; }

private:
    std::filesystem::path _path;
};

[[noreturn]] void RefuseBackup(const std::filesystem::path& i_backup, const std::string& i_reason)
{
    throw ManagerError(Kind::BadInput,
                       "The backup " + Show(i_backup) + " cannot be restored: " + i_reason + ". Name another one.");
}

/// Refuses what is no sound store.
void CheckBackup(ConnectionPool& io_pool, const std::filesystem::path& i_backup)
{
    try {
        const auto findings = CheckFile(io_pool.Get(), "integrity_check(1)");
        if (!findings.empty())
            RefuseBackup(i_backup, "it is damaged (" + findings.front() + ')');
    } catch (const SqlFailure& failure) {
        if (failure.GetCause() != SqlFailure::Cause::Damaged)
            throw;
        RefuseBackup(i_backup, "it is damaged, or no backup");
    }
    try {
        if (ReadStoreVersion(io_pool.Get()) == 0)
            RefuseBackup(i_backup, "it holds no jobs");
    } catch (const ManagerError& refusal) {
        if (refusal.GetKind() != Kind::Storage)
            throw;
        RefuseBackup(i_backup, "a newer version of this program has made it, or another program");
    }
}

} // namespace

void JobStore::Backup(const std::filesystem::path& i_file) const
{
    try {
        TavSDK::AtomicFile file(i_file);
        const auto& path = file.GetTemporaryPath();
        _impl->Read([&](Connection& io_connection) {
            if (_impl->dialect->IsPostgres())
                CopyToFile(io_connection, path, _impl->options.log);
            else
                io_connection.Run(QStringLiteral("VACUUM INTO ") + Quoted(path));
        });
        file.Commit();
    } catch (const TavSDK::FileError& failure) {
        throw ManagerError(Kind::Storage, "The backup " + Show(i_file) + " cannot be written: " + failure.what() +
                                              ". Make room, or name another file.");
    }
}

struct StoreBackup::Impl
{
    const WorkFolder folder;
    const std::unique_ptr<const Dialect> dialect = MakeSqliteDialect(folder.GetFile());
    ConnectionPool pool{*dialect};
};

StoreBackup::StoreBackup(const std::filesystem::path& i_backup, const std::function<void(const std::string&)>& i_log)
try : _impl(std::make_unique<Impl>()) {
    {
        TavSDK::InputFile source(i_backup);
        TavSDK::AtomicFile copy(_impl->folder.GetFile());
        copy.Copy(source);
        copy.Commit();
    }
    CheckBackup(_impl->pool, i_backup);
    Migrate(_impl->pool, i_log);
} catch (const TavSDK::FileError& failure) {
    RefuseBackup(i_backup, failure.what());
}

StoreBackup::~StoreBackup() = default;

std::int64_t StoreBackup::CountJobs() const
{
    return _impl->pool.Get().SelectValue(QStringLiteral("SELECT count(*) FROM jobs")).toLongLong();
}

std::set<std::string> StoreBackup::GetFiles() const
{
    std::set<std::string> hashes;
    Rows rows = _impl->pool.Get().Select(
        QStringLiteral("SELECT platform_hash FROM jobs WHERE phase <> 'incoming' "
                       "UNION SELECT picture_hash FROM jobs WHERE picture_hash IS NOT NULL "
                       "UNION SELECT machine_file_hash FROM jobs WHERE machine_file_hash IS NOT NULL"));
    while (rows.Next())
        hashes.insert(rows[0].toString().toStdString());
    return hashes;
}

ConnectionPool& StoreBackup::GetPool() const
{
    return _impl->pool;
}

} // namespace MachineService::MachineManager
