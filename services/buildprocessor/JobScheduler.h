#pragma once

#include "client/interface/CommandTypes.h"

#include <boost/uuid/uuid.hpp>

#include <condition_variable>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <thread>
#include <vector>

namespace MachineService::BuildProcessor {

/// Runs jobs on a few threads: one at a time and in order for each machine, machines beside one another.
///
/// Every answer is given: the work's result or failure, ProcessingAborted when the caller's stop token asked, before or
/// while the job ran, ServicesUnavailable for jobs that wait when the scheduler closes.
///
/// Thread: any.
class JobScheduler
{
public:
    /// Must come back soon after its token asks it to.
    using Work = std::function<CommandResult(std::stop_token)>;

    explicit JobScheduler(std::size_t i_thread_count);
    ~JobScheduler();
    JobScheduler(const JobScheduler&) = delete;
    JobScheduler& operator=(const JobScheduler&) = delete;

    std::future<CommandResult> Submit(const boost::uuids::uuid& i_machine, std::stop_token i_stop, Work i_work);
    /// Stops what runs, refuses what waits or comes, and joins the threads. Twice is harmless.
    void Close();

private:
    struct Job
    {
        boost::uuids::uuid machine = {};
        Work work;
        std::promise<CommandResult> promise;
        std::stop_source stop;
        std::optional<std::stop_callback<std::function<void()>>> onCallerStop;
    };
    using JobPointer = std::shared_ptr<Job>;

    void _RunThread();
    /// Waits for a job whose machine is free; null when the scheduler closes.
    JobPointer _Take();
    void _Run(const JobPointer& ip_job);
    /// The caller does not want the job any more: out of the queue with it, or let it stop.
    void _Abandon(Job* ip_job);

    std::mutex _mutex; ///< guards _waiting, _running, _busyMachines, _closed
    std::condition_variable _wakeUp;
    std::list<JobPointer> _waiting;
    std::set<JobPointer> _running;
    std::set<boost::uuids::uuid> _busyMachines;
    bool _closed = false;
    std::mutex _threadsMutex; ///< guards _threads; never taken together with _mutex
    std::vector<std::thread> _threads;
};

} // namespace MachineService::BuildProcessor
