#include "machinemanager/store/Dialect.h"

#include "machinemanager/store/PostgresHandle.h"

#include "tavsdk/Path.h"

#include <QByteArray>

#include <utility>

namespace MachineService::MachineManager {

namespace {

using Cause = SqlFailure::Cause;

/// The database's own words, on one line.
std::string GetReason(const QSqlError& i_error)
{
    auto text = i_error.databaseText().simplified();
    if (text.isEmpty())
        text = i_error.driverText().simplified();
    while (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text.isEmpty() ? "no reason was given" : text.toStdString();
}

class SqliteDialect final : public Dialect
{
public:
    explicit SqliteDialect(StoreAddress i_address)
        : Dialect(std::move(i_address))
    {}

    QString GetDriver() const override { return QStringLiteral("QSQLITE"); }
    void SetUp(QSqlDatabase& io_database, Access i_access) const override
    {
        io_database.setDatabaseName(QString::fromStdString(TavSDK::PathToUtf8(GetAddress().file)));
        io_database.setConnectOptions(i_access == Access::Full
                                          ? QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000")
                                          : QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000;QSQLITE_OPEN_READONLY"));
    }
    QStringList GetOpening() const override
    {
        return {QStringLiteral("PRAGMA journal_mode = WAL"), QStringLiteral("PRAGMA synchronous = FULL"),
                QStringLiteral("PRAGMA foreign_keys = ON")};
    }
    QString GetBegin() const override { return QStringLiteral("BEGIN IMMEDIATE"); }
    QString GetMigrationLock() const override { return {}; }
    QString GetIdentity() const override { return QStringLiteral("INTEGER PRIMARY KEY AUTOINCREMENT"); }
    QString GetRowLock() const override { return {}; }
    QString GetFreeRowLock() const override { return {}; }
    QString GetFind() const override { return QStringLiteral("instr"); }
    bool IsLost(const QSqlDatabase&) const override { return false; }
    SqlFailure Explain(const QSqlError& i_error, bool) const override
    {
        const std::string store = "The job store " + GetAddress().Show();
        const std::string reason = " (" + GetReason(i_error) + "). ";
        // The lower byte says what it is; the others tell more of it.
        switch (i_error.nativeErrorCode().toInt() & 0xff) {
        case 5: // SQLITE_BUSY
        case 6: // SQLITE_LOCKED
            return {Cause::Other, store + " is busy" + reason + "Try again."};
        case 8: // SQLITE_READONLY
            return {Cause::Other, store + " cannot be written" + reason + "Give the manager the right to write there."};
        case 10: // SQLITE_IOERR
            return {Cause::Other,
                    store + " cannot be read or written" + reason + "Look after the disk, then try again."};
        case 13: // SQLITE_FULL
            return {Cause::Other, store + " has no room left" + reason + "Make room on the disk, then try again."};
        case 14: // SQLITE_CANTOPEN
            return {Cause::Other, store + " cannot be opened" + reason + "Look at its folder and the rights to it."};
        case 11: // SQLITE_CORRUPT
        case 26: // SQLITE_NOTADB
            return {Cause::Damaged,
                    store + " is damaged" + reason + "Start the manager again: it sets a damaged store aside."};
        default:
            return {Cause::Other, store + " failed" + reason + "Try again; if that does not help, let it be checked."};
        }
    }
};

class PostgresDialect final : public Dialect
{
public:
    explicit PostgresDialect(StoreAddress i_address)
        : Dialect(std::move(i_address))
    {}

    QString GetDriver() const override { return QStringLiteral("QPSQL"); }
    void SetUp(QSqlDatabase& io_database, Access) const override
    {
        const StoreAddress& address = GetAddress();
        io_database.setHostName(QString::fromStdString(address.host));
        io_database.setPort(address.port);
        io_database.setUserName(QString::fromStdString(address.user));
        io_database.setPassword(QString::fromStdString(address.password));
        io_database.setDatabaseName(QString::fromStdString(address.database));
        // A server that is gone without a word is noticed within seconds instead of minutes.
        io_database.setConnectOptions(QStringLiteral("connect_timeout=5;keepalives_idle=5;keepalives_interval=2;"
                                                     "keepalives_count=3;tcp_user_timeout=10000"));
    }
    QStringList GetOpening() const override
    {
        return {QStringLiteral("SET client_min_messages = warning"), QStringLiteral("SET synchronous_commit = on"),
                QStringLiteral("SET idle_in_transaction_session_timeout = '60s'")};
    }
    // The number of the transaction comes along: after a connection lost in its commit it tells what became of it.
    QString GetBegin() const override { return QStringLiteral("BEGIN; SELECT CAST(pg_current_xact_id() AS TEXT)"); }
    QString GetMigrationLock() const override { return QStringLiteral("SELECT pg_advisory_xact_lock(7216350911)"); }
    QString GetIdentity() const override
    {
        return QStringLiteral("BIGINT GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY");
    }
    QString GetRowLock() const override { return QStringLiteral(" FOR UPDATE"); }
    QString GetFreeRowLock() const override { return QStringLiteral(" FOR UPDATE SKIP LOCKED"); }
    QString GetFind() const override { return QStringLiteral("strpos"); }
    bool IsLost(const QSqlDatabase& i_database) const override
    {
        PGconn* const handle = GetHandle(i_database);
        return !handle || PQstatus(handle) != CONNECTION_OK;
    }
    SqlFailure Explain(const QSqlError& i_error, bool i_is_lost) const override
    {
        const std::string store = "The job store " + GetAddress().Show();
        const std::string reason = " (" + GetReason(i_error) + "). ";
        const auto code = i_error.nativeErrorCode();
        // What comes from the server has a code: one that goes down, or the library that found nobody there.
        if (i_is_lost || code.isEmpty() || code.startsWith(QLatin1String("57P")) ||
            code.startsWith(QLatin1String("08")))
            return {Cause::Lost, store + " cannot be reached" + reason + "Look whether the database server runs."};
        if (code == QLatin1String("40001") || code == QLatin1String("40P01"))
            return {Cause::Crossed, store + " is busy" + reason + "Try again."};
        if (code.startsWith(QLatin1String("53")))
            return {Cause::Other, store + " has no room left" + reason + "Make room at the database server."};
        if (code == QLatin1String("25006") || code == QLatin1String("42501"))
            return {Cause::Other, store + " cannot be written" + reason + "Give the manager's user the right to."};
        return {Cause::Other, store + " failed" + reason + "Try again; if that does not help, let it be checked."};
    }
};

} // namespace

std::unique_ptr<const Dialect> MakeDialect(StoreAddress i_address)
{
    if (i_address.IsPostgres())
        return std::make_unique<PostgresDialect>(std::move(i_address));
    return std::make_unique<SqliteDialect>(std::move(i_address));
}

} // namespace MachineService::MachineManager
