#include "machinemanager/store/Migrations.h"

#include <QString>
#include <QStringList>

#include <iterator>

namespace MachineService::MachineManager {

namespace {

// What was published stays as it is: stores of its version exist. {identity} stands for the dialect's word.

constexpr const char* Version1[] = {
    R"(CREATE TABLE jobs (
        number {identity},
        id TEXT NOT NULL UNIQUE,
        name TEXT NOT NULL,
        name_folded TEXT NOT NULL,
        owner TEXT NOT NULL,
        target_machine TEXT NOT NULL,
        target_model TEXT NOT NULL,
        target_material TEXT NOT NULL,
        queue TEXT NOT NULL,
        priority INTEGER NOT NULL,
        copies INTEGER NOT NULL,
        is_draft INTEGER NOT NULL,
        platform_hash TEXT NOT NULL,
        platform_name TEXT NOT NULL,
        platform_size BIGINT NOT NULL,
        picture_hash TEXT,
        picture_name TEXT,
        picture_size BIGINT,
        needs_model TEXT NOT NULL,
        needs_material TEXT NOT NULL,
        needs_nozzle DOUBLE PRECISION,
        needs_width DOUBLE PRECISION,
        needs_depth DOUBLE PRECISION,
        needs_height DOUBLE PRECISION,
        estimated_seconds DOUBLE PRECISION,
        estimated_volume DOUBLE PRECISION,
        estimated_mass DOUBLE PRECISION,
        settings TEXT NOT NULL,
        phase TEXT NOT NULL,
        state INTEGER NOT NULL,
        wait_reason TEXT NOT NULL,
        detail TEXT NOT NULL,
        position DOUBLE PRECISION,
        created BIGINT NOT NULL,
        changed BIGINT NOT NULL,
        phase_since BIGINT NOT NULL,
        version BIGINT NOT NULL,
        machine TEXT NOT NULL,
        machine_name TEXT NOT NULL,
        percent INTEGER NOT NULL,
        stage TEXT NOT NULL,
        attempts INTEGER NOT NULL,
        copies_done INTEGER NOT NULL,
        is_acknowledged INTEGER NOT NULL,
        machine_file_hash TEXT,
        machine_file_name TEXT,
        machine_file_size BIGINT,
        not_before BIGINT,
        claimant TEXT NOT NULL,
        fence BIGINT NOT NULL))",
    "CREATE INDEX jobs_by_state ON jobs (state, number)",
    "CREATE INDEX jobs_by_owner ON jobs (owner, number)",
    "CREATE INDEX jobs_waiting ON jobs (queue, priority DESC, COALESCE(position, number), number) WHERE phase = "
    "'waiting'",
    "CREATE INDEX jobs_claimed ON jobs (claimant) WHERE claimant <> ''",
    "CREATE INDEX jobs_final ON jobs (changed) WHERE state >= 7",
    R"(CREATE TABLE history (
        job BIGINT NOT NULL REFERENCES jobs (number) ON DELETE CASCADE,
        version BIGINT NOT NULL,
        time BIGINT NOT NULL,
        actor TEXT NOT NULL,
        event TEXT NOT NULL,
        phase TEXT NOT NULL,
        detail TEXT NOT NULL,
        PRIMARY KEY (job, version)))",
    R"(CREATE TABLE machines (
        id TEXT PRIMARY KEY,
        name TEXT NOT NULL,
        model TEXT NOT NULL,
        is_paused INTEGER NOT NULL,
        pause_reason TEXT NOT NULL,
        loaded_material TEXT NOT NULL,
        loaded_nozzle DOUBLE PRECISION,
        loaded_plate TEXT NOT NULL,
        printer TEXT NOT NULL,
        seen BIGINT NOT NULL))",
    "CREATE TABLE daemons (name TEXT PRIMARY KEY, beats BIGINT NOT NULL)",
};

constexpr const char* Version2[] = {
    // Deadlines are searched for by the database from now on. The numbers are those that version 1 had.
    "ALTER TABLE jobs ADD COLUMN deadline BIGINT",
    R"(UPDATE jobs SET deadline = phase_since
        + CASE phase WHEN 'incoming' THEN 86400000 WHEN 'starting' THEN 60000 ELSE 30000 END
        WHERE phase IN ('incoming', 'starting', 'canceling'))",
    "CREATE INDEX jobs_by_deadline ON jobs (deadline) WHERE deadline IS NOT NULL",
    "ALTER TABLE jobs ADD COLUMN machine_order TEXT NOT NULL DEFAULT ''",
    "CREATE INDEX jobs_put_off ON jobs (not_before) WHERE not_before IS NOT NULL",
    R"(CREATE TABLE machine_history (
        number {identity},
        machine TEXT NOT NULL REFERENCES machines (id) ON DELETE CASCADE,
        time BIGINT NOT NULL,
        actor TEXT NOT NULL,
        detail TEXT NOT NULL))",
    "CREATE INDEX machine_history_by_machine ON machine_history (machine, number)",
};

struct Migration
{
    const char* const* begin;
    const char* const* end;
};

constexpr Migration Steps[] = {
    {std::begin(Version1), std::end(Version1)},
    {std::begin(Version2), std::end(Version2)},
};

bool HasTable(Connection& io_connection, const char* ip_name)
{
    const QString question =
        io_connection.GetDialect().IsPostgres()
            ? QStringLiteral("SELECT 1 FROM pg_tables WHERE schemaname = current_schema() AND tablename = ?")
            : QStringLiteral("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = ?");
    return io_connection.SelectValue(question, {QLatin1String(ip_name)}).isValid();
}

} // namespace

int GetStoreVersion()
{
    return static_cast<int>(std::size(Steps));
}

int ReadStoreVersion(Connection& io_connection)
{
    const std::string store = "The job store " + io_connection.GetDialect().GetAddress().Show();
    if (!HasTable(io_connection, "store_version")) {
        if (HasTable(io_connection, "jobs"))
            throw ManagerError(ManagerError::Kind::Storage,
                               store + " holds tables of another program. Name another file or database.");
        return 0;
    }
    const int version = io_connection.SelectValue(QStringLiteral("SELECT version FROM store_version")).toInt();
    if (version < 1 || version > GetStoreVersion())
        throw ManagerError(ManagerError::Kind::Storage, store + " is of version " + std::to_string(version) +
                                                            ", and this program knows versions up to " +
                                                            std::to_string(GetStoreVersion()) +
                                                            ". Use the newer program, or another store.");
    return version;
}

void Migrate(ConnectionPool& io_pool, const Transaction::Log& i_log, int i_last)
{
    for (int version = ReadStoreVersion(io_pool.Get()); version < i_last;) {
        Transaction transaction(io_pool, i_log);
        Connection& connection = transaction.GetConnection();
        const Dialect& dialect = connection.GetDialect();
        if (!dialect.GetMigrationLock().isEmpty())
            connection.Run(dialect.GetMigrationLock());
        // Another daemon may have been quicker.
        version = ReadStoreVersion(connection);
        if (version >= i_last)
            return;
        const Migration& step = Steps[version];
        if (version == 0)
            connection.Run(QStringLiteral("CREATE TABLE store_version (version INTEGER NOT NULL)"));
        for (const char* const* statement = step.begin; statement != step.end; ++statement)
            connection.Run(QString::fromLatin1(*statement).replace(QLatin1String("{identity}"), dialect.GetIdentity()));
        ++version;
        if (version == 1)
            connection.Run(QStringLiteral("INSERT INTO store_version (version) VALUES (?)"), {version});
        else
            connection.Run(QStringLiteral("UPDATE store_version SET version = ?"), {version});
        transaction.Commit();
    }
}

} // namespace MachineService::MachineManager
