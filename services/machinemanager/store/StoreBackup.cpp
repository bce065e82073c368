#include "machinemanager/store/StoreBackup.h"

#include "machinemanager/store/FileStore.h"
#include "machinemanager/store/JobStore_p.h"
#include "machinemanager/store/Migrations.h"
#include "machinemanager/store/SetAside.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/RemoveFolder.h"
#include "tavsdk/Text.h"

#include <QCryptographicHash>
#include <QStringList>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

/// Tables that are copied, those that others refer to first.
struct Table
{
    const char* name;
    const char* order;
    bool isNumbered; ///< its number counts up
};

constexpr Table Tables[] = {
    {"jobs", "number", true},
    {"history", "job, version", false},
    {"machines", "id", false},
    {"machine_history", "number", true},
};

/// Rows that are in memory at once.
constexpr int Page = 1'000;

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

/// \return rows that were copied.
int CopyPage(Connection& io_from, Connection& io_to, const Table& i_table, int i_offset)
{
    const auto name = QLatin1String(i_table.name);
    Rows rows = io_from.Select(
        QStringLiteral("SELECT * FROM %1 ORDER BY %2 LIMIT ? OFFSET ?").arg(name, QLatin1String(i_table.order)),
        {Page, i_offset});
    const QStringList columns = rows.GetColumns();
    QStringList places;
    for (int column = 0; column < columns.size(); ++column)
        places.append(QStringLiteral("?"));
    const QString insert = QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                               .arg(name, columns.join(QStringLiteral(", ")), places.join(QStringLiteral(", ")));
    int count = 0;
    for (; rows.Next(); ++count) {
        QVariantList values;
        for (int column = 0; column < columns.size(); ++column)
            values.append(rows[column]);
        io_to.Run(insert, values);
    }
    return count;
}

void CopyTables(Connection& io_from, Connection& io_to)
{
    for (const Table& table : Tables) {
        for (int offset = 0; CopyPage(io_from, io_to, table, offset) == Page;)
            offset += Page;
        if (io_to.GetDialect().IsPostgres() && table.isNumbered)
            io_to.Run(
                QStringLiteral("SELECT setval(pg_get_serial_sequence('%1', 'number'), (SELECT COALESCE(max(number), 0) "
                               "+ 1 FROM %1), false)")
                    .arg(QLatin1String(table.name)));
    }
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
    if (ReadStoreVersion(io_pool.Get()) == 0)
        RefuseBackup(i_backup, "it holds no jobs");
}

void FillStore(Connection& io_from, const StoreOptions& i_options)
{
    const auto dialect = MakeDialect(ParseStoreAddress(i_options.address));
    std::optional<StoreLock> lock;
    if (!dialect->IsPostgres()) {
        lock.emplace(dialect->GetAddress().file);
        SetAsideWhenDamaged(*dialect, std::chrono::system_clock::now(), i_options.log);
    }
    ConnectionPool pool(*dialect);
    Migrate(pool, i_options.log);
    Transaction transaction(pool, i_options.log);
    Connection& connection = transaction.GetConnection();
    for (const Table& table : Tables) {
        if (connection.SelectValue(QStringLiteral("SELECT 1 FROM %1 LIMIT 1").arg(QLatin1String(table.name))).isValid())
            throw ManagerError(Kind::Conflict, "The job store " + dialect->GetAddress().Show() +
                                                   " is not empty. Restore into a new one.");
    }
    CopyTables(io_from, connection);
    transaction.Commit();
}

/// Sentence about one file of a job; empty when there is nothing to say.
std::string CheckKept(const Job& i_job, const KeptFile& i_file, const FileStore& i_files, bool i_is_whole)
{
    const std::string begin = "The file " + TavSDK::Quote(i_file.name) + " of the job " + std::to_string(i_job.number) +
                              ' ' + TavSDK::Quote(i_job.name);
    if (!i_files.Has(i_file.hash))
        return begin + " is missing. Hand the job in again.";
    if (!i_is_whole)
        return {};
    try {
        TavSDK::InputFile file(i_files.GetPath(i_file.hash));
        QCryptographicHash hash(QCryptographicHash::Sha256);
        std::vector<char> buffer(1'000'000);
        for (std::size_t count = buffer.size(); count == buffer.size();) {
            count = file.Read(buffer.data(), buffer.size());
            hash.addData(buffer.data(), static_cast<int>(count));
        }
        return hash.result().toHex().toStdString() == i_file.hash ? std::string()
                                                                  : begin + " is damaged. Hand the job in again.";
    } catch (const TavSDK::FileError& failure) {
        return begin + " cannot be read: " + failure.what() + ". Look after the disk.";
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

void RestoreStore(const std::filesystem::path& i_backup, const StoreOptions& i_options)
{
    try {
        const WorkFolder folder;
        {
            TavSDK::InputFile source(i_backup);
            TavSDK::AtomicFile copy(folder.GetFile());
            copy.Copy(source);
            copy.Commit();
        }
        const auto dialect = MakeSqliteDialect(folder.GetFile());
        ConnectionPool pool(*dialect);
        CheckBackup(pool, i_backup);
        Migrate(pool, i_options.log);
        FillStore(pool.Get(), i_options);
    } catch (const TavSDK::FileError& failure) {
        RefuseBackup(i_backup, failure.what());
    }
}

StoreReport CheckFiles(const JobStore& i_store, const FileStore& i_files, bool i_is_whole)
{
    StoreReport report;
    JobFilter filter{.isOldestFirst = true, .count = 500};
    for (auto jobs = i_store.List(filter); !jobs.empty(); jobs = i_store.List(filter)) {
        for (const Job& job : jobs) {
            std::vector<KeptFile> files;
            // What comes in now is not there yet.
            if (job.phase != JobPhase::Incoming)
                files.push_back(job.platform);
            for (const auto& file : {job.picture, job.machineFile}) {
                if (file)
                    files.push_back(*file);
            }
            for (const KeptFile& file : files) {
                auto finding = CheckKept(job, file, i_files, i_is_whole);
                if (!finding.empty())
                    report.findings.push_back(std::move(finding));
            }
        }
        filter.after = jobs.back().number;
    }
    report.isSound = report.findings.empty();
    return report;
}

} // namespace MachineService::MachineManager
