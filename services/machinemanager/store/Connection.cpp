#include "machinemanager/store/Connection.h"

#include <QSqlError>
#include <QSqlRecord>

#include <atomic>
#include <utility>

namespace MachineService::MachineManager {

namespace {

/// Statements of filters come in many forms; those that are asked for all the time are made anew soon.
constexpr int MostPrepared = 200;

std::atomic<int> mgp_connections = 0;
thread_local int mgp_failingStatement = -1;
thread_local int mgp_statements = 0;

bool HasToFail()
{
    return mgp_statements++ == mgp_failingStatement;
}

QSqlDatabase MakeDatabase(const Dialect& i_dialect, Access i_access, const QString& i_name)
{
    auto database = QSqlDatabase::addDatabase(i_dialect.GetDriver(), i_name);
    i_dialect.SetUp(database, i_access);
    return database;
}

} // namespace

bool Rows::Next()
{
    if (_query->next())
        return true;
    // The end looks like a failure to read on.
    if (_query->lastError().isValid())
        throw _dialect.Explain(_query->lastError(), false);
    return false;
}

QStringList Rows::GetColumns() const
{
    QStringList names;
    const QSqlRecord record = _query->record();
    for (int index = 0; index < record.count(); ++index)
        names.append(record.fieldName(index));
    return names;
}

Connection::Connection(const Dialect& i_dialect, Access i_access)
    : _dialect(i_dialect)
    , _name(QStringLiteral("machineservice-jobs-%1").arg(++mgp_connections))
    , _database(MakeDatabase(i_dialect, i_access, _name))
{
    try {
        if (HasToFail() || !_database.open())
            throw _dialect.Explain(_database.lastError(), _dialect.IsPostgres());
        _plain = QSqlQuery(_database);
        for (const QString& statement : i_access == Access::Full ? _dialect.GetOpening() : QStringList())
            Run(statement);
    } catch (...) {
        _plain = QSqlQuery();
        _database = {};
        QSqlDatabase::removeDatabase(_name);
        throw;
    }
}

Connection::~Connection()
{
    _plain = QSqlQuery();
    _prepared.clear();
    _database.close();
    _database = {};
    QSqlDatabase::removeDatabase(_name);
}

void Connection::_Throw(const QSqlError& i_error)
{
    const SqlFailure failure = _dialect.Explain(i_error, _dialect.IsLost(_database));
    _isLost = _isLost || failure.GetCause() == SqlFailure::Cause::Lost;
    throw failure;
}

QSqlQuery& Connection::_Execute(const QString& i_sql, const QVariantList& i_values)
{
    if (HasToFail())
        throw _dialect.Explain(
            QSqlError({}, QStringLiteral("made to fail"), QSqlError::StatementError, QStringLiteral("XX000")), false);
    if (i_values.isEmpty()) {
        _plain = QSqlQuery(_database);
        if (!_plain.exec(i_sql))
            _Throw(_plain.lastError());
        return _plain;
    }
    auto found = _prepared.find(i_sql);
    if (found == _prepared.end()) {
        if (_prepared.size() >= MostPrepared)
            _prepared.clear();
        QSqlQuery query(_database);
        // The driver of PostgreSQL would else mix up what a connection is asked meanwhile.
        query.setForwardOnly(!_dialect.IsPostgres());
        if (!query.prepare(i_sql))
            _Throw(query.lastError());
        found = _prepared.insert(i_sql, query);
    }
    QSqlQuery& query = *found;
    for (int index = 0; index < i_values.size(); ++index)
        query.bindValue(index, i_values[index]);
    if (!query.exec()) {
        const auto error = query.lastError();
        query.finish();
        _Throw(error);
    }
    return query;
}

Rows Connection::Select(const QString& i_sql, const QVariantList& i_values)
{
    return {_Execute(i_sql, i_values), _dialect};
}

int Connection::Run(const QString& i_sql, const QVariantList& i_values)
{
    QSqlQuery& query = _Execute(i_sql, i_values);
    const int count = query.numRowsAffected();
    query.finish();
    return count;
}

QVariant Connection::SelectValue(const QString& i_sql, const QVariantList& i_values)
{
    QSqlQuery& query = _Execute(i_sql, i_values);
    // Of several statements at once, as "BEGIN; SELECT", not the first one gives a row.
    while (!query.isSelect() && query.nextResult()) {
    }
    Rows rows(query, _dialect);
    return rows.Next() ? rows[0] : QVariant();
}

int Connection::FailAt(int i_index)
{
    mgp_failingStatement = i_index;
    return std::exchange(mgp_statements, 0);
}

QString ToText(const std::string& i_text)
{
    return i_text.empty() ? QLatin1String("") : QString::fromUtf8(i_text.data(), static_cast<int>(i_text.size()));
}

} // namespace MachineService::MachineManager
