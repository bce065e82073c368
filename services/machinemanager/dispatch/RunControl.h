#pragma once

#include "tavsdk/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <stop_token>

namespace MachineService::MachineManager {

/// How others reach the thread that works on a job.
///
/// Thread: any.
class RunControl
{
public:
    /// Somebody canceled the job, or took it away: what is being done is to end soon.
    void Interrupt();
    /// The daemon stops.
    void Stop();
    /// Something about the job may be otherwise.
    void Notice();

    std::stop_token GetToken() const;
    /// For the next step, after an interruption was dealt with.
    void Renew();
    bool IsStopping() const;
    /// Returns at a notice or a stop, or when the time is over.
    void Wait(std::chrono::milliseconds i_time);

private:
    mutable TavSDK::Mutex _mutex; ///< guards everything below
    std::condition_variable_any _wakeUp;
    std::stop_source _step TAVSDK_GUARDED_BY(_mutex);
    bool _isStopping TAVSDK_GUARDED_BY(_mutex) = false;
    bool _isNoticed TAVSDK_GUARDED_BY(_mutex) = false;
};

} // namespace MachineService::MachineManager
