#include "wire/IdleWatchdog.h"

#include <algorithm>

namespace MachineService::Wire {

IdleWatchdog::~IdleWatchdog()
{
    Close();
}

void IdleWatchdog::Close()
{
    std::thread thread;
    {
        const std::lock_guard lock(_mutex);
        _stop = true;
        thread.swap(_thread);
        _wakeUp.notify_one();
    }
    if (thread.joinable())
        thread.join();
}

std::unique_ptr<IdleWatchdog::Guard> IdleWatchdog::Watch(std::chrono::milliseconds i_longest_idle,
                                                         std::function<void()> i_action)
{
    const std::lock_guard lock(_mutex);
    if (!_thread.joinable() && !_stop)
        _thread = std::thread([this] { _Run(); });
    const auto key = _nextKey++;
    auto guard = std::make_unique<Guard>(*this, key);
    _watched[key] = {i_longest_idle, Clock::now() + i_longest_idle, std::move(i_action)};
    _wakeUp.notify_one();
    return guard;
}

void IdleWatchdog::_Run()
{
    std::unique_lock lock(_mutex);
    while (!_stop) {
        auto next = Clock::time_point::max();
        const auto now = Clock::now();
        auto due = _watched.end();
        for (auto watched = _watched.begin(); watched != _watched.end(); ++watched) {
            if (watched->second.hasBitten)
                continue;
            if (watched->second.end <= now)
                due = watched;
            next = std::min(next, watched->second.end);
        }
        if (due != _watched.end()) {
            due->second.hasBitten = true;
            _acting = due->first;
            const auto action = due->second.action;
            lock.unlock();
            action();
            lock.lock();
            _acting = 0;
            _actionEnded.notify_all();
        } else if (next == Clock::time_point::max()) {
            _wakeUp.wait(lock);
        } else {
            _wakeUp.wait_until(lock, next);
        }
    }
}

IdleWatchdog::Guard::~Guard()
{
    std::unique_lock lock(_watchdog._mutex);
    // What the action uses goes next.
    while (_watchdog._acting == _key)
        _watchdog._actionEnded.wait(lock);
    _watchdog._watched.erase(_key);
}

void IdleWatchdog::Guard::Feed()
{
    // The thread finds the later end when it wakes at the former one: nobody is woken for a message.
    const std::lock_guard lock(_watchdog._mutex);
    auto& watched = _watchdog._watched[_key];
    watched.end = Clock::now() + watched.longestIdle;
}

bool IdleWatchdog::Guard::HasBitten() const
{
    const std::lock_guard lock(_watchdog._mutex);
    return _watchdog._watched[_key].hasBitten;
}

} // namespace MachineService::Wire
