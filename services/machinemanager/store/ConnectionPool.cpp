#include "machinemanager/store/ConnectionPool.h"

#include "tavsdk/Mutex.h"

#include <algorithm>
#include <map>
#include <thread>
#include <vector>

namespace MachineService::MachineManager {

struct ConnectionPool::State
{
    explicit State(const Dialect& i_dialect)
        : dialect(i_dialect)
    {}

    const Dialect& dialect;
    TavSDK::Mutex mutex; ///< guards connections; what is in them is their threads'
    std::map<std::thread::id, std::unique_ptr<Connection>> connections TAVSDK_GUARDED_BY(mutex);
};

namespace {

/// Closes the connections of a thread when it ends.
struct ThreadEnd
{
    ~ThreadEnd()
    {
        for (const auto& pool : pools) {
            if (const auto state = pool.lock()) {
                // Closed under the lock: whoever destroys the pool waits until none is open.
                const TavSDK::MutexLock lock(state->mutex);
                state->connections.erase(std::this_thread::get_id());
            }
        }
    }

    std::vector<std::weak_ptr<ConnectionPool::State>> pools;
};

thread_local ThreadEnd mgp_threadEnd;

} // namespace

ConnectionPool::ConnectionPool(const Dialect& i_dialect)
    : _state(std::make_shared<State>(i_dialect))
{}

ConnectionPool::~ConnectionPool()
{
    const TavSDK::MutexLock lock(_state->mutex);
    _state->connections.clear();
}

const Dialect& ConnectionPool::GetDialect() const
{
    return _state->dialect;
}

Connection& ConnectionPool::Get()
{
    const auto thread = std::this_thread::get_id();
    {
        const TavSDK::MutexLock lock(_state->mutex);
        const auto found = _state->connections.find(thread);
        if (found != _state->connections.end()) {
            if (found->second->IsInTransaction() || !found->second->IsLost())
                return *found->second;
            _state->connections.erase(found);
        }
    }
    auto connection = std::make_unique<Connection>(_state->dialect);
    auto& pools = mgp_threadEnd.pools;
    std::erase_if(pools, [](const auto& i_pool) { return i_pool.expired(); });
    const bool isKnown =
        std::any_of(pools.begin(), pools.end(), [this](const auto& i_pool) { return i_pool.lock() == _state; });
    if (!isKnown)
        pools.push_back(_state);
    const TavSDK::MutexLock lock(_state->mutex);
    return *(_state->connections[thread] = std::move(connection));
}

} // namespace MachineService::MachineManager
