#include "machinemanager/store/ChangeFeed.h"

#include "tavsdk/StopExceptions.h"

#include <algorithm>
#include <condition_variable>
#include <thread>
#include <utility>

namespace MachineService::MachineManager {

struct ChangeFeed::Listener
{
    explicit Listener(Slot i_slot)
        : slot(std::move(i_slot))
    {}

    /// Those that are in the slot, without this thread.
    bool IsOthersBusy() const TAVSDK_REQUIRES(mutex)
    {
        return std::any_of(callers.begin(), callers.end(),
                           [](std::thread::id i_caller) { return i_caller != std::this_thread::get_id(); });
    }

    Slot slot;           ///< no longer called once isOver is set and nobody is in it
    TavSDK::Mutex mutex; ///< guards callers and isOver
    std::condition_variable_any left;
    std::vector<std::thread::id> callers TAVSDK_GUARDED_BY(mutex);
    bool isOver TAVSDK_GUARDED_BY(mutex) = false;
};

ChangeFeed::ChangeFeed(std::function<void(const std::string&)> i_log)
    : _log(std::move(i_log))
    , _state(std::make_shared<State>())
{}

std::shared_ptr<void> ChangeFeed::Subscribe(Slot i_slot)
{
    auto listener = std::make_shared<Listener>(std::move(i_slot));
    {
        const TavSDK::MutexLock lock(_state->mutex);
        _state->listeners.push_back(listener);
    }
    const auto end = [state = _state, listener](void*) {
        {
            const TavSDK::MutexLock lock(state->mutex);
            std::erase(state->listeners, listener);
        }
        Slot slot;
        TavSDK::MutexLock lock(listener->mutex);
        listener->isOver = true;
        while (listener->IsOthersBusy())
            listener->left.wait(lock);
        // What the slot holds goes now, not with the last thread that still has the listener; in the call itself it
        // has to stay until that returns.
        if (listener->callers.empty())
            slot.swap(listener->slot);
    };
    return {listener.get(), end};
}

void ChangeFeed::Tell(const boost::uuids::uuid& i_job) const
{
    std::vector<std::shared_ptr<Listener>> listeners;
    {
        const TavSDK::MutexLock lock(_state->mutex);
        listeners = _state->listeners;
    }
    for (const auto& listener : listeners) {
        {
            const TavSDK::MutexLock lock(listener->mutex);
            if (listener->isOver)
                continue;
            listener->callers.push_back(std::this_thread::get_id());
        }
        TavSDK::StopExceptions([&] { listener->slot(i_job); },
                               [&](const char* ip_text) {
                                   if (_log)
                                       _log(std::string("A listener to the job store failed: ") + ip_text);
                               });
        const TavSDK::MutexLock lock(listener->mutex);
        listener->callers.erase(
            std::find(listener->callers.begin(), listener->callers.end(), std::this_thread::get_id()));
        listener->left.notify_all();
    }
}

} // namespace MachineService::MachineManager
