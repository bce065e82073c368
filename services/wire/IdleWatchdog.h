#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace MachineService::Wire {

/// Ends what has stood still for too long: a stream on which nothing comes, a sender who stopped.
///
/// Normal use: `const auto watch = watchdog.Watch(30s, [&] { context.TryCancel(); });` around a loop that calls
/// `watch->Feed()` after each message.
///
/// Thread: any; one thread of its own for all that is watched, started with the first. The action runs on it, at most
/// once, and neither when nor after the watch goes.
class IdleWatchdog
{
public:
    class Guard
    {
    public:
        Guard(IdleWatchdog& io_watchdog, std::uint64_t i_key)
            : _watchdog(io_watchdog)
            , _key(i_key)
        {}
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

        /// It moves: the time begins anew.
        void Feed();
        /// Whether the action was carried out.
        bool HasBitten() const;

    private:
        IdleWatchdog& _watchdog;
        const std::uint64_t _key;
    };

    IdleWatchdog() = default;
    ~IdleWatchdog();
    IdleWatchdog(const IdleWatchdog&) = delete;
    IdleWatchdog& operator=(const IdleWatchdog&) = delete;

    /// Ends the thread; nothing is watched any more. Twice is harmless.
    void Close();
    /// \param i_action short; must not use the watchdog.
    std::unique_ptr<Guard> Watch(std::chrono::milliseconds i_longest_idle, std::function<void()> i_action);

private:
    using Clock = std::chrono::steady_clock;
    struct Watched
    {
        std::chrono::milliseconds longestIdle;
        Clock::time_point end;
        std::function<void()> action;
        bool hasBitten = false;
    };

    void _Run();

    mutable std::mutex _mutex; ///< guards everything below
    std::condition_variable _wakeUp;
    std::condition_variable _actionEnded;
    std::map<std::uint64_t, Watched> _watched;
    std::uint64_t _nextKey = 1;
    std::uint64_t _acting = 0; ///< the key whose action runs
    bool _stop = false;
    std::thread _thread;
};

} // namespace MachineService::Wire
