#pragma once

#include "machinemanager/store/ConnectionPool.h"

#include <functional>
#include <optional>
#include <string>

namespace MachineService::MachineManager {

/// Changes that are kept together, or not at all: undone unless they were committed.
///
/// Thread: one.
/// Errors: SqlFailure: nothing was changed, unless the sentence says that this is not known.
class Transaction
{
public:
    using Log = std::function<void(const std::string&)>;

    /// Begins it. \param i_log told when undoing fails; must outlive it.
    /// \throws std::logic_error inside another one of the same thread.
    Transaction(ConnectionPool& io_pool, const Log& i_log);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    Connection& GetConnection() { return *_connection; }
    void Commit();

private:
    void _Begin();
    QString _AskState();
    void _AskWhatBecameOfIt(const SqlFailure& i_failure);

    ConnectionPool& _pool;
    const Log& _log;
    std::optional<TavSDK::MutexLock> _turn;
    Connection* _connection = nullptr;
    QString _number; ///< PostgreSQL's
    bool _isOpen = false;
};

} // namespace MachineService::MachineManager
