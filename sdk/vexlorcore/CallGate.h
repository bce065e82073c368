#pragma once

#include "tavsdk/Mutex.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>

namespace VexlorCore {

/// The jobs that other threads hand to one thread, and the waiting for them. Free of any event loop: whoever serves it
/// is woken through a function and then calls RunOne.
///
/// Thread: any, except RunOne, which is for the serving thread.
class CallGate
{
public:
    /// \param i_wake arranges one call of RunOne soon and must neither block nor call back. It is called under the
    /// lock, so that none is on its way any more once Close has returned.
    explicit CallGate(std::function<void()> i_wake);

    /// Waits until the job has run; what it throws is thrown here.
    /// \throws std::runtime_error "The host is shutting down." when the gate is closed before the job was begun.
    void Invoke(const std::function<void()>& i_job);
    /// Does not wait; dropped when the gate is closed.
    void Post(std::function<void()> i_job);
    /// Runs the oldest job, if there is one. What a posted job throws goes to i_report.
    void RunOne(const std::function<void(std::exception_ptr)>& i_report);
    /// Wakes all who wait; no job begins any more. Does not wait for one that runs.
    void Close();

private:
    struct Call;
    void _Push(std::shared_ptr<Call> ip_call) TAVSDK_REQUIRES(_mutex);

    /// Guards _queue, _isClosed, the states of the calls, and the life of what _wake reaches.
    TavSDK::Mutex _mutex;
    std::condition_variable_any _done;
    std::deque<std::shared_ptr<Call>> _queue TAVSDK_GUARDED_BY(_mutex);
    std::function<void()> _wake TAVSDK_GUARDED_BY(_mutex);
    bool _isClosed TAVSDK_GUARDED_BY(_mutex) = false;
};

} // namespace VexlorCore
