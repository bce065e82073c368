#pragma once

#include "machinemanager/store/Connection.h"

#include "tavsdk/Mutex.h"

#include <memory>

namespace MachineService::MachineManager {

/// A connection for each thread, closed when the thread ends or the pool goes.
///
/// Thread: any; when it goes, nobody may use a connection of it.
/// Errors: SqlFailure.
class ConnectionPool
{
public:
    /// \param i_dialect must outlive it.
    explicit ConnectionPool(const Dialect& i_dialect);
    ~ConnectionPool();
    ConnectionPool(const ConnectionPool&) = delete;
    ConnectionPool& operator=(const ConnectionPool&) = delete;

    const Dialect& GetDialect() const;
    /// This thread's; made, or made anew when it was lost, unless a transaction uses it.
    Connection& Get();
    /// Held by who writes to SQLite, which lets one write at a time: waiting for it here ends with the turn before, and
    /// waiting for the file's own lock is asking again every so often.
    TavSDK::Mutex& GetTurn() { return _turn; }

    struct State;

private:
    const std::shared_ptr<State> _state;
    TavSDK::Mutex _turn; ///< guards the right to write to the file
};

} // namespace MachineService::MachineManager
