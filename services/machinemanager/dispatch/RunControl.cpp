#include "machinemanager/dispatch/RunControl.h"

namespace MachineService::MachineManager {

void RunControl::Interrupt()
{
    std::stop_source step;
    {
        const TavSDK::MutexLock lock(_mutex);
        step = _step;
        _isNoticed = true;
        _wakeUp.notify_all();
    }
    // Callbacks of the token run here.
    step.request_stop();
}

void RunControl::Stop()
{
    {
        const TavSDK::MutexLock lock(_mutex);
        _isStopping = true;
    }
    Interrupt();
}

void RunControl::Notice()
{
    const TavSDK::MutexLock lock(_mutex);
    _isNoticed = true;
    _wakeUp.notify_all();
}

std::stop_token RunControl::GetToken() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _step.get_token();
}

void RunControl::Renew()
{
    const TavSDK::MutexLock lock(_mutex);
    if (!_isStopping)
        _step = std::stop_source();
}

bool RunControl::IsStopping() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _isStopping;
}

void RunControl::Wait(std::chrono::milliseconds i_time)
{
    const auto end = std::chrono::steady_clock::now() + i_time;
    TavSDK::MutexLock lock(_mutex);
    while (!_isNoticed && !_isStopping && std::chrono::steady_clock::now() < end)
        _wakeUp.wait_until(lock, end);
    _isNoticed = false;
}

} // namespace MachineService::MachineManager
