#pragma once

#include "vexlorcore/Listener.h"
#include "vexlorcore_export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace VexlorCore {

class Database;

/// Runs the host's operations and keeps the history that undo shows.
///
/// Thread: UI thread. Operations and listeners may close the database, and the manager with it; nothing is sent then.
class VEXLORCORE_EXPORT OperationManagerBase
{
public:
    /// One entry of the history.
    struct Record
    {
        std::wstring name;
        std::uint32_t actions = 0; ///< DatabaseAction flags
        std::function<void()> undo;
    };

    explicit OperationManagerBase(Database& io_database);
    ~OperationManagerBase();
    OperationManagerBase(const OperationManagerBase&) = delete;
    OperationManagerBase& operator=(const OperationManagerBase&) = delete;

    /// Order: BeforeExecuteOperation to this manager's listeners, the operation, the record added,
    /// AfterExecuteOperation to the listeners, OperationCompleted to the database's listeners. When the operation
    /// throws, nothing is recorded and only AfterExecuteOperation is sent before the exception goes on.
    /// \throws std::runtime_error when a listener closed the database before the operation.
    void Execute(const std::wstring& i_name, std::uint32_t i_actions, const std::function<void()>& i_operation,
                 std::function<void()> i_undo = {});
    /// Undoes the last recorded operation and takes it out of the history; false when there is none.
    bool Undo();
    /// Undoes the recorded operation of that place in the history, also when it is not the last one: a host with
    /// several scenes knows which of them it was about. False when there is none.
    bool Undo(std::size_t i_index);
    /// Takes the last record out of the history without undoing it; harmless when there is none.
    void PurgeLastOperation();

    const std::vector<Record>& GetHistory() const { return _history; }

    void AddListener(MListener* ip_listener) { _listeners.Add(ip_listener); }
    void RemoveListener(MListener* ip_listener) { _listeners.Remove(ip_listener); }

private:
    Database& _database;
    ListenerList _listeners;
    std::vector<Record> _history;
    const std::shared_ptr<const int> _alive = std::make_shared<int>(0);
};

} // namespace VexlorCore
