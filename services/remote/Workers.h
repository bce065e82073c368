#pragma once

#include "client/interface/CommunicationException.h"
#include "tavsdk/Mutex.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace MachineService::Remote {

/// Carries calls to a service out, each on a thread of its own while it lasts: a machine that hangs never delays
/// another.
///
/// Every answer is given; ServicesUnavailable once it is closed.
///
/// Thread: any.
class Workers
{
public:
    Workers();
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// \param i_work gives the answer, of any type or none.
    template <class Work>
    auto Submit(Work i_work) -> std::future<std::invoke_result_t<Work&>>
    {
        using Result = std::invoke_result_t<Work&>;
        const auto promise = std::make_shared<std::promise<Result>>();
        auto future = promise->get_future();
        const bool isTaken = Post([promise, work = std::move(i_work)]() mutable {
            try {
                if constexpr (std::is_void_v<Result>) {
                    work();
                    promise->set_value();
                } else {
                    promise->set_value(work());
                }
            } catch (...) {
                promise->set_exception(std::current_exception());
            }
        });
        if (!isTaken)
            promise->set_exception(std::make_exception_ptr(CommunicationException(ErrorCode::ServicesUnavailable)));
        return future;
    }

    /// The same without an answer.
    /// \param i_work must not throw.
    /// \return false when it is closed.
    bool Post(std::function<void()> i_work);

    /// Refuses what comes and joins the threads; what runs must have been told to stop before. Twice is harmless.
    /// Within one of its own threads, which then ends after it.
    void Close();

private:
    struct Worker;
    class Queue;

    const std::shared_ptr<Queue> _queue; ///< shared with the threads, which may outlive this
    TavSDK::Mutex _mutex;                ///< guards _workers; never held while a thread is joined
    std::vector<Worker> _workers TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::Remote
