#pragma once

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>

#include <libpq-fe.h>

namespace MachineService::MachineManager {

/// What the SQL module's driver is connected by; null when it is not. Stays the driver's.
inline PGconn* GetHandle(const QSqlDatabase& i_database)
{
    const QVariant handle = i_database.driver() ? i_database.driver()->handle() : QVariant();
    const bool isHandle = handle.isValid() && qstrcmp(handle.typeName(), "PGconn*") == 0;
    return isHandle ? *static_cast<PGconn* const*>(handle.constData()) : nullptr;
}

} // namespace MachineService::MachineManager
