#include "machinemanager/store/TableCopy.h"

#include <QStringList>

namespace MachineService::MachineManager {

namespace {

constexpr CopiedTable Tables[] = {
    {"jobs", "number", true},
    {"history", "job, version", false},
    {"machines", "id", false},
    {"machine_history", "number", true},
};

/// Rows that are in memory at once.
constexpr int Page = 1'000;

/// \return rows that were copied.
int CopyPage(Connection& io_from, Connection& io_to, const CopiedTable& i_table, int i_offset)
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

} // namespace

std::span<const CopiedTable> GetCopiedTables()
{
    return Tables;
}

void CopyTables(Connection& io_from, Connection& io_to)
{
    for (const CopiedTable& table : Tables) {
        for (int offset = 0; CopyPage(io_from, io_to, table, offset) == Page;)
            offset += Page;
        if (io_to.GetDialect().IsPostgres() && table.isNumbered)
            io_to.Run(
                QStringLiteral("SELECT setval(pg_get_serial_sequence('%1', 'number'), (SELECT COALESCE(max(number), 0) "
                               "+ 1 FROM %1), false)")
                    .arg(QLatin1String(table.name)));
    }
}

} // namespace MachineService::MachineManager
