#pragma once

#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace MachineService {

/// Runs jobs on a few threads: one at a time and in order for each machine, machines beside one another.
///
/// Every answer is given: the work's result or failure, ProcessingAborted when the caller's stop token asked, before or
/// while the job ran, ServicesUnavailable for jobs that wait when the scheduler closes.
///
/// Thread: any.
class JobScheduler
{
public:
    explicit JobScheduler(std::size_t i_thread_count);
    ~JobScheduler();
    JobScheduler(const JobScheduler&) = delete;
    JobScheduler& operator=(const JobScheduler&) = delete;

    /// \param i_work gives the answer, of any type or none; must come back soon after its token asks it to.
    template <class Work>
    auto Submit(const boost::uuids::uuid& i_machine, std::stop_token i_stop, Work i_work)
        -> std::future<std::invoke_result_t<Work&, std::stop_token>>
    {
        using Result = std::invoke_result_t<Work&, std::stop_token>;
        struct Answer
        {
            std::promise<Result> promise;
            std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
        };
        auto answer = std::make_shared<Answer>();
        auto future = answer->promise.get_future();
        auto job = std::make_shared<Job>();
        job->machine = i_machine;
        job->work = [answer, work = std::move(i_work)](std::stop_token i_job_stop) mutable {
            if constexpr (std::is_void_v<Result>)
                work(std::move(i_job_stop));
            else
                answer->result.emplace(work(std::move(i_job_stop)));
        };
        job->answer = [answer](const std::exception_ptr& ip_failure) {
            if (ip_failure)
                answer->promise.set_exception(ip_failure);
            else if constexpr (std::is_void_v<Result>)
                answer->promise.set_value();
            else
                answer->promise.set_value(std::move(*answer->result));
        };
        _Submit(std::move(job), std::move(i_stop));
        return future;
    }
    /// Stops what runs, refuses what waits or comes, and joins the threads. Twice is harmless. Inside a job, whose own
    /// thread then ends after it, as it does where a job destroys the scheduler.
    void Close();

private:
    struct Job
    {
        boost::uuids::uuid machine = {};
        std::function<void(std::stop_token)> work;
        /// Fulfils the promise with the work's result, or with a failure. Called once.
        std::function<void(const std::exception_ptr& ip_failure)> answer;
        std::stop_source stop;
        std::optional<std::stop_callback<std::function<void()>>> onCallerStop;
    };
    using JobPointer = std::shared_ptr<Job>;

    class Queue;
    struct Worker;

    void _Submit(JobPointer ip_job, std::stop_token i_stop);

    /// Shared with the threads, which may outlive this.
    std::shared_ptr<Queue> _queue;
    TavSDK::Mutex _mutex; ///< guards _workers; never held while a thread is joined
    std::vector<Worker> _workers TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService
