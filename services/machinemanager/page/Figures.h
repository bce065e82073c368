#pragma once

#include "tavsdk/Mutex.h"

#include <cstdint>
#include <map>

namespace MachineService::MachineManager {

/// How many requests were answered, by the status of the answer.
///
/// Thread: any.
class Figures
{
public:
    void Count(int i_status)
    {
        const TavSDK::MutexLock lock(_mutex);
        ++_requests[i_status];
    }
    std::map<int, std::uint64_t> GetRequests()
    {
        const TavSDK::MutexLock lock(_mutex);
        return _requests;
    }

private:
    TavSDK::Mutex _mutex; ///< guards _requests
    std::map<int, std::uint64_t> _requests TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::MachineManager
