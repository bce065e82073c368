#include "machinemanager/store/JobStore.h"
#include "machinemanager/store/JobStore_p.h"
#include "machinemanager/store/StoreBackup.h"
#include "machinemanager/store/TableCopy.h"

#include <QStringList>

#include <boost/uuid/uuid.hpp>

#include <vector>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

bool HasRow(Connection& io_connection, const QString& i_select)
{
    return io_connection.SelectValue(i_select + QStringLiteral(" LIMIT 1")).isValid();
}

/// Versions only count up, and numbers are given once.
std::string ReadMark(Connection& io_connection)
{
    std::string mark;
    for (const char* const select : {"SELECT count(*) FROM jobs", "SELECT sum(version) FROM jobs",
                                     "SELECT max(number) FROM jobs", "SELECT max(number) FROM machine_history"})
        mark += io_connection.SelectValue(QLatin1String(select)).toString().toStdString() + ' ';
    return mark;
}

/// \throws ManagerError Conflict.
void CheckTarget(Connection& io_connection, bool i_may_replace)
{
    if (HasRow(io_connection, QStringLiteral("SELECT 1 FROM jobs WHERE state IN (5, 6) OR claimant <> ''")))
        throw ManagerError(Kind::Conflict, "Jobs are carried out now, and would be lost. Pause the machines, wait for "
                                           "these jobs or cancel them, then restore.");
    // Machines alone are found anew; what people told of them is in their history.
    const bool isEmpty = !HasRow(io_connection, QStringLiteral("SELECT 1 FROM jobs")) &&
                         !HasRow(io_connection, QStringLiteral("SELECT 1 FROM machine_history"));
    if (!isEmpty && !i_may_replace)
        throw ManagerError(Kind::Conflict, "The job store " + io_connection.GetDialect().GetAddress().Show() +
                                               " is not empty. Restore into a new one, or say that it is to be "
                                               "replaced.");
}

/// The machines that are there stay, where the backup does not know them: their services told of them once.
class KeptMachines
{
public:
    explicit KeptMachines(Connection& io_connection)
    {
        Rows rows = io_connection.Select(QStringLiteral("SELECT * FROM machines"));
        const QStringList columns = rows.GetColumns();
        QStringList places;
        for (int column = 0; column < columns.size(); ++column)
            places.append(QStringLiteral("?"));
        _insert = QStringLiteral("INSERT INTO machines (%1) VALUES (%2) ON CONFLICT (id) DO NOTHING")
                      .arg(columns.join(QStringLiteral(", ")), places.join(QStringLiteral(", ")));
        while (rows.Next()) {
            auto& values = _rows.emplace_back();
            for (int column = 0; column < columns.size(); ++column)
                values.append(rows[column]);
        }
    }
    void PutBack(Connection& io_connection) const
    {
        for (const QVariantList& values : _rows)
            io_connection.Run(_insert, values);
    }

private:
    QString _insert;
    std::vector<QVariantList> _rows;
};

} // namespace

std::string JobStore::GetMark() const
{
    return _impl->Read(ReadMark);
}

std::int64_t JobStore::Restore(const StoreBackup& i_backup, const RestoreOrder& i_order)
{
    auto& impl = *_impl;
    return impl.Write([&](Writing& io_writing) {
        Connection& connection = io_writing.connection;
        if (impl.dialect->IsPostgres())
            connection.Run(QStringLiteral("LOCK TABLE jobs, machines IN EXCLUSIVE MODE"));
        CheckTarget(connection, i_order.mayReplace);
        if (!i_order.unchangedSince.empty() && ReadMark(connection) != i_order.unchangedSince)
            throw ManagerError(Kind::Conflict, "Jobs were handed in or changed meanwhile, and would be lost. Restore "
                                               "when nobody does.");
        const KeptMachines machines(connection);
        const auto tables = GetCopiedTables();
        for (auto table = tables.rbegin(); table != tables.rend(); ++table)
            connection.Run(QStringLiteral("DELETE FROM %1").arg(QLatin1String(table->name)));
        CopyTables(i_backup.GetPool().Get(), connection);
        machines.PutBack(connection);
        for (const Job& job : ReadJobs(connection, QStringLiteral("WHERE claimant <> ''"), {}))
            impl.Step(io_writing, job, {JobEvent::ClaimLost, i_order.actor, i_order.detail});
        // It may have been printed since the backup was made.
        const auto waiting = ReadJobs(connection, QStringLiteral("WHERE phase = 'waiting'"), {});
        for (const Job& job : waiting)
            impl.Step(io_writing, job, {JobEvent::Hold, i_order.actor, i_order.detail});
        io_writing.changed.push_back(boost::uuids::uuid());
        return static_cast<std::int64_t>(waiting.size());
    });
}

} // namespace MachineService::MachineManager
