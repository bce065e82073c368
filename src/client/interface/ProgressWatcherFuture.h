#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stop_token>
#include <utility>

namespace MachineService {

/// Progress and cancellation of one asynchronous answer; the service writes the one and reads the other.
class ProgressWatcher
{
public:
    /// \param i_percent 0 to 100.
    /// Thread: any.
    void SetProgress(int i_percent) { _percent.store(i_percent, std::memory_order_relaxed); }
    int GetProgress() const { return _percent.load(std::memory_order_relaxed); }

    void RequestStop() { _stop.request_stop(); }
    std::stop_token GetStopToken() const { return _stop.get_token(); }

private:
    std::atomic<int> _percent = 0;
    std::stop_source _stop;
};

/// A future that also tells how far its answer is and lets the one who waits give up.
///
/// Thread: one at a time, as std::future; progress and stop may be used from any thread through the watcher.
/// Ownership: destroying it neither waits nor stops the service.
template <class T>
class ProgressWatcherFuture
{
public:
    ProgressWatcherFuture() = default;
    explicit ProgressWatcherFuture(std::future<T> i_future,
                                   std::shared_ptr<ProgressWatcher> ip_watcher = std::make_shared<ProgressWatcher>())
        : _future(std::move(i_future))
        , _watcher(std::move(ip_watcher))
    {}

    bool valid() const { return _future.valid(); }
    /// \throws std::future_error when not valid; whatever the service stored.
    T get() { return _future.get(); }
    void wait() const { _future.wait(); }
    template <class Rep, class Period>
    std::future_status wait_for(const std::chrono::duration<Rep, Period>& i_time) const
    {
        return _future.wait_for(i_time);
    }

    /// Percent, 0 to 100; 0 when nobody tells.
    int GetProgress() const { return _watcher ? _watcher->GetProgress() : 0; }
    void RequestStop()
    {
        if (_watcher)
            _watcher->RequestStop();
    }

private:
    std::future<T> _future;
    std::shared_ptr<ProgressWatcher> _watcher;
};

} // namespace MachineService
