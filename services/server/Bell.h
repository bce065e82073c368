#pragma once

#include "tavsdk/Mutex.h"

#include <chrono>
#include <condition_variable>

namespace MachineService::Server {

/// Wakes the one who passes news on. Rung by many; what was rung while nobody waited is not lost.
///
/// Thread: any.
/// Ownership: shared, because a machine may still tell of a run when the server is gone.
class Bell
{
public:
    using Clock = std::chrono::steady_clock;

    void Ring()
    {
        const TavSDK::MutexLock lock(_mutex);
        _isRung = true;
        _wakeUp.notify_all();
    }
    /// Returns when it was rung, or at the given time.
    void Wait(Clock::time_point i_until)
    {
        TavSDK::MutexLock lock(_mutex);
        while (!_isRung && Clock::now() < i_until)
            _wakeUp.wait_until(lock, i_until);
        _isRung = false;
    }

private:
    TavSDK::Mutex _mutex; ///< guards _isRung
    std::condition_variable_any _wakeUp;
    bool _isRung TAVSDK_GUARDED_BY(_mutex) = false;
};

} // namespace MachineService::Server
