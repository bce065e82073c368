#pragma once

#include "tavsdk/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <stop_token>

namespace MachineService::Remote {

/// The pause between two attempts to connect, which whoever knows better ends.
///
/// Thread: any.
class Retry
{
public:
    /// The present pause ends, or the next one at once.
    void Wake()
    {
        const TavSDK::MutexLock lock(_mutex);
        _isWoken = true;
        _wakeUp.notify_all();
    }
    void Pause(std::chrono::steady_clock::time_point i_end, const std::stop_token& i_stop)
    {
        const std::stop_callback wake(i_stop, [this] { Wake(); });
        TavSDK::MutexLock lock(_mutex);
        while (!_isWoken && !i_stop.stop_requested()) {
            if (_wakeUp.wait_until(lock, i_end) == std::cv_status::timeout)
                break;
        }
        _isWoken = false;
    }

private:
    TavSDK::Mutex _mutex; ///< guards _isWoken
    std::condition_variable_any _wakeUp;
    bool _isWoken TAVSDK_GUARDED_BY(_mutex) = false;
};

} // namespace MachineService::Remote
