#include "vexlorcore/OperationManager.h"

#include "vexlorcore/Database.h"

#include <utility>

namespace VexlorCore {

OperationManagerBase::OperationManagerBase(Database& io_database)
    : _database(io_database)
{}

OperationManagerBase::~OperationManagerBase() = default;

void OperationManagerBase::Execute(const std::wstring& i_name, std::uint32_t i_actions,
                                   const std::function<void()>& i_operation, std::function<void()> i_undo)
{
    _listeners.Send(BeforeExecuteOperation());
    try {
        i_operation();
        _history.push_back({i_name, i_actions, std::move(i_undo)});
    } catch (...) {
        _listeners.Send(AfterExecuteOperation());
        throw;
    }
    _listeners.Send(AfterExecuteOperation());
    _database.Send(OperationCompleted(i_actions));
}

bool OperationManagerBase::Undo()
{
    if (_history.empty())
        return false;
    const Record record = std::move(_history.back());
    _history.pop_back();
    _listeners.Send(BeforeExecuteOperation());
    try {
        if (record.undo)
            record.undo();
    } catch (...) {
        _listeners.Send(AfterExecuteOperation());
        throw;
    }
    _listeners.Send(AfterExecuteOperation());
    _database.Send(OperationCompleted(record.actions));
    return true;
}

void OperationManagerBase::PurgeLastOperation()
{
    if (!_history.empty())
        _history.pop_back();
}

} // namespace VexlorCore
