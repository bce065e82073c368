#include "vexlorcore/OperationManager.h"

#include "vexlorcore/Database.h"

#include <stdexcept>
#include <utility>

namespace VexlorCore {

OperationManagerBase::OperationManagerBase(Database& io_database)
    : _database(io_database)
{}

OperationManagerBase::~OperationManagerBase() = default;

void OperationManagerBase::Execute(const std::wstring& i_name, std::uint32_t i_actions,
                                   const std::function<void()>& i_operation, std::function<void()> i_undo)
{
    const std::weak_ptr<const int> alive = _alive;
    _listeners.Send(BeforeExecuteOperation());
    if (alive.expired())
        throw std::runtime_error("The database was closed before the operation.");
    try {
        i_operation();
        if (alive.expired())
            return;
        _history.push_back({i_name, i_actions, std::move(i_undo)});
    } catch (...) {
        if (!alive.expired())
            _listeners.Send(AfterExecuteOperation());
        throw;
    }
    _listeners.Send(AfterExecuteOperation());
    if (!alive.expired())
        _database.Send(OperationCompleted(i_actions));
}

bool OperationManagerBase::Undo()
{
    return !_history.empty() && Undo(_history.size() - 1);
}

bool OperationManagerBase::Undo(std::size_t i_index)
{
    if (i_index >= _history.size())
        return false;
    const Record record = std::move(_history[i_index]);
    _history.erase(_history.begin() + static_cast<std::ptrdiff_t>(i_index));
    const std::weak_ptr<const int> alive = _alive;
    _listeners.Send(BeforeExecuteOperation());
    if (alive.expired())
        return false;
    try {
        if (record.undo)
            record.undo();
    } catch (...) {
        if (!alive.expired())
            _listeners.Send(AfterExecuteOperation());
        throw;
    }
    if (alive.expired())
        return true;
    _listeners.Send(AfterExecuteOperation());
    if (!alive.expired())
        _database.Send(OperationCompleted(record.actions));
    return true;
}

void OperationManagerBase::PurgeLastOperation()
{
    if (!_history.empty())
        _history.pop_back();
}

} // namespace VexlorCore
