#pragma once

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/Address.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QString>
#include <QStringList>

#include <memory>
#include <string>

namespace MachineService::MachineManager {

/// A statement that failed, or a database that could not be reached.
class SqlFailure final : public ManagerError
{
public:
    enum class Cause
    {
        Other,
        Lost,    ///< the connection: what a transaction did before its commit is undone
        Damaged, ///< the file of the database
        Crossed, ///< with another transaction: the whole of it may be tried again
    };

    SqlFailure(Cause i_cause, const std::string& i_sentence)
        : ManagerError(Kind::Storage, i_sentence)
        , _cause(i_cause)
    {}

    Cause GetCause() const { return _cause; }

private:
    Cause _cause;
};

/// What a connection is for.
enum class Access
{
    Full,
    Look, ///< leaves a file, and the log beside it, as they are
};

/// Everything in which the two databases differ; all other SQL is the same for both.
///
/// Thread: any.
class Dialect
{
public:
    virtual ~Dialect() = default;
    Dialect(const Dialect&) = delete;
    Dialect& operator=(const Dialect&) = delete;

    bool IsPostgres() const { return _address.IsPostgres(); }
    const StoreAddress& GetAddress() const { return _address; }

    virtual QString GetDriver() const = 0;
    /// Tells it where to connect.
    virtual void SetUp(QSqlDatabase& io_database, Access i_access) const = 0;
    /// Statements for a new connection that has full access.
    virtual QStringList GetOpening() const = 0;
    /// Begins a transaction that will write.
    virtual QString GetBegin() const = 0;
    /// Lets nobody else change the tables themselves until the transaction ends; empty when it begins so.
    virtual QString GetMigrationLock() const = 0;
    /// Type of a primary key that counts up.
    virtual QString GetIdentity() const = 0;
    /// At the end of a SELECT whose rows are to be changed.
    virtual QString GetRowLock() const = 0;
    /// The same, passing over those that somebody else changes just now.
    virtual QString GetFreeRowLock() const = 0;
    /// Function of a text and a part of it: the part's place, or 0.
    virtual QString GetFind() const = 0;
    /// Is the connection gone?
    virtual bool IsLost(const QSqlDatabase& i_database) const = 0;
    /// \param i_is_lost what IsLost said.
    virtual SqlFailure Explain(const QSqlError& i_error, bool i_is_lost) const = 0;

protected:
    explicit Dialect(StoreAddress i_address)
        : _address(std::move(i_address))
    {}

private:
    const StoreAddress _address;
};

std::unique_ptr<const Dialect> MakeDialect(StoreAddress i_address);

} // namespace MachineService::MachineManager
