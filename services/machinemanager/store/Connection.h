#pragma once

#include "machinemanager/store/Dialect.h"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <string>

namespace MachineService::MachineManager {

/// What a SELECT found, row by row. Ends with the object, which must not live longer than its connection.
class Rows
{
public:
    Rows(QSqlQuery& io_query, const Dialect& i_dialect)
        : _query(&io_query)
        , _dialect(i_dialect)
    {}
    // What is not finished holds a lock on the database.
    ~Rows() { _query->finish(); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    /// \throws SqlFailure.
    bool Next();
    QVariant operator[](int i_column) const { return _query->value(i_column); }
    QStringList GetColumns() const;

private:
    QSqlQuery* const _query;
    const Dialect& _dialect;
};

/// One connection to the database. Statements with values are prepared once and kept.
///
/// Thread: the one that made it; only the destructor may be called by another one, when that one does not use it.
/// Errors: SqlFailure.
class Connection
{
public:
    /// Connects. \param i_dialect must outlive it.
    explicit Connection(const Dialect& i_dialect, Access i_access = Access::Full);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    const Dialect& GetDialect() const { return _dialect; }

    Rows Select(const QString& i_sql, const QVariantList& i_values = {});
    /// \return rows that were changed.
    int Run(const QString& i_sql, const QVariantList& i_values = {});
    /// First value of the first row; invalid when there is none.
    QVariant SelectValue(const QString& i_sql, const QVariantList& i_values = {});

    /// No statement works any more.
    bool IsLost() const { return _isLost || _dialect.IsLost(_database); }
    /// After a failure that leaves nobody knowing what state the connection is in.
    void GiveUp() { _isLost = true; }
    /// Somebody up the stack uses it for a transaction.
    bool IsInTransaction() const { return _isInTransaction; }
    void SetInTransaction(bool i_is_in_transaction) { _isInTransaction = i_is_in_transaction; }
    const QSqlDatabase& GetDatabase() const { return _database; }

    /// For tests: the statement of that index, counted from now on over all connections of this thread, fails
    /// once before it is run; -1: none. \return how many were counted since the last call.
    static int FailAt(int i_index);

private:
    QSqlQuery& _Execute(const QString& i_sql, const QVariantList& i_values);
    [[noreturn]] void _Throw(const QSqlError& i_error);

    const Dialect& _dialect;
    QString _name;
    QSqlDatabase _database;
    QHash<QString, QSqlQuery> _prepared;
    QSqlQuery _plain;
    bool _isLost = false;
    bool _isInTransaction = false;
};

/// Never null, which an empty text otherwise may be.
QString ToText(const std::string& i_text);

} // namespace MachineService::MachineManager
