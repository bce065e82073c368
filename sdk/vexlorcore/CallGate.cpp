#include "vexlorcore/CallGate.h"

#include <stdexcept>
#include <utility>

namespace VexlorCore {

namespace {

[[noreturn]] void ThrowShuttingDown()
{
    throw std::runtime_error("The host is shutting down.");
}

} // namespace

struct CallGate::Call
{
    enum class State
    {
        Waiting,
        Done,
        Dropped,
    };

    std::function<void()> job;
    bool isAwaited = false;
    State state = State::Waiting;
    std::exception_ptr failure;
};

CallGate::CallGate(std::function<void()> i_wake)
    : _wake(std::move(i_wake))
{}

void CallGate::_Push(std::shared_ptr<Call> ip_call)
{
    // One wake for each job: a job may run a nested event loop, which must then be woken for those behind it.
    _queue.push_back(std::move(ip_call));
    _wake();
}

void CallGate::Invoke(const std::function<void()>& i_job)
{
    const auto call = std::make_shared<Call>();
    call->job = [&i_job] {
        i_job();
    };
    call->isAwaited = true;
    TavSDK::MutexLock lock(_mutex);
    if (_isClosed)
        ThrowShuttingDown();
    _Push(call);
    while (call->state == Call::State::Waiting)
        _done.wait(lock);
    if (call->state == Call::State::Dropped)
        ThrowShuttingDown();
    const auto failure = std::move(call->failure);
    lock.unlock();
    if (failure)
        std::rethrow_exception(failure);
}

void CallGate::Post(std::function<void()> i_job)
{
    auto call = std::make_shared<Call>();
    call->job = std::move(i_job);
    const TavSDK::MutexLock lock(_mutex);
    if (!_isClosed)
        _Push(std::move(call));
}

void CallGate::RunOne(const std::function<void(std::exception_ptr)>& i_report)
{
    std::shared_ptr<Call> call;
    {
        const TavSDK::MutexLock lock(_mutex);
        if (_queue.empty())
            return;
        call = std::move(_queue.front());
        _queue.pop_front();
    }
    std::exception_ptr failure;
    try {
        call->job();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!call->isAwaited) {
        if (failure)
            i_report(std::move(failure));
        return;
    }
    const TavSDK::MutexLock lock(_mutex);
    call->failure = std::move(failure);
    call->state = Call::State::Done;
    _done.notify_all();
}

void CallGate::Close()
{
    // Posted jobs are destroyed after the lock: their captures may do anything.
    std::deque<std::shared_ptr<Call>> dropped;
    const TavSDK::MutexLock lock(_mutex);
    _isClosed = true;
    dropped.swap(_queue);
    for (const auto& call : dropped) {
        if (call->isAwaited)
            call->state = Call::State::Dropped;
    }
    _done.notify_all();
}

} // namespace VexlorCore
