#include "contract/JobScheduler.h"

#include "client/interface/CommunicationException.h"

#include "tavsdk/ThreadCollector.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <list>
#include <set>
#include <thread>

namespace MachineService {

namespace {

std::exception_ptr MakeFailure(ErrorCode i_code)
{
    return std::make_exception_ptr(CommunicationException(i_code));
}

} // namespace

struct JobScheduler::Worker
{
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> hasEnded;
};

/// The jobs, as the threads see them.
class JobScheduler::Queue
{
public:
    void Submit(const JobPointer& ip_job, std::stop_token i_stop);
    void Close();
    /// The life of a thread.
    void Run();

private:
    /// Waits for a job whose machine is free; null when the scheduler closes.
    JobPointer _Take();
    JobPointer _TakeNext() TAVSDK_REQUIRES(_mutex);
    void _Run(const JobPointer& ip_job);
    /// The caller does not want the job any more: out of the queue with it, or let it stop.
    void _Abandon(Job* ip_job);

    TavSDK::Mutex _mutex; ///< guards all below
    std::condition_variable_any _wakeUp;
    std::list<JobPointer> _waiting TAVSDK_GUARDED_BY(_mutex);
    std::set<JobPointer> _running TAVSDK_GUARDED_BY(_mutex);
    std::set<boost::uuids::uuid> _busyMachines TAVSDK_GUARDED_BY(_mutex);
    bool _closed TAVSDK_GUARDED_BY(_mutex) = false;
};

void JobScheduler::Queue::Submit(const JobPointer& ip_job, std::stop_token i_stop)
{
    // In place before a thread can take the job; a stop that comes before the job is queued is seen below.
    ip_job->onCallerStop.emplace(std::move(i_stop), [this, raw = ip_job.get()] { _Abandon(raw); });
    bool queued = false;
    {
        const TavSDK::MutexLock lock(_mutex);
        queued = !_closed;
        if (queued)
            _waiting.push_back(ip_job);
        _wakeUp.notify_one();
    }
    if (!queued) {
        ip_job->onCallerStop.reset();
        ip_job->answer(MakeFailure(ErrorCode::ServicesUnavailable));
    } else if (ip_job->stop.stop_requested()) {
        _Abandon(ip_job.get());
    }
}

void JobScheduler::Queue::Close()
{
    std::list<JobPointer> refused;
    std::set<JobPointer> stopped;
    {
        const TavSDK::MutexLock lock(_mutex);
        _closed = true;
        refused.swap(_waiting);
        stopped = _running;
        _wakeUp.notify_all();
    }
    for (const auto& job : stopped)
        job->stop.request_stop();
    for (const auto& job : refused) {
        job->onCallerStop.reset();
        job->answer(MakeFailure(ErrorCode::ServicesUnavailable));
    }
}

void JobScheduler::Queue::Run()
{
    while (const auto job = _Take())
        _Run(job);
}

JobScheduler::JobPointer JobScheduler::Queue::_Take()
{
    TavSDK::MutexLock lock(_mutex);
    while (!_closed) {
        if (auto job = _TakeNext())
            return job;
        _wakeUp.wait(lock);
    }
    return nullptr;
}

JobScheduler::JobPointer JobScheduler::Queue::_TakeNext()
{
    for (auto next = _waiting.begin(); next != _waiting.end(); ++next) {
        const JobPointer job = *next;
        if (!_busyMachines.insert(job->machine).second)
            continue;
        _waiting.erase(next);
        _running.insert(job);
        return job;
    }
    return nullptr;
}

void JobScheduler::Queue::_Run(const JobPointer& ip_job)
{
    std::exception_ptr failure;
    try {
        if (ip_job->stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        ip_job->work(ip_job->stop.get_token());
    } catch (...) {
        // Whatever a stopped job stumbled over, it was stopped.
        failure = ip_job->stop.stop_requested() ? MakeFailure(ErrorCode::ProcessingAborted) : std::current_exception();
    }
    // What the work held may be the last that keeps the scheduler.
    ip_job->work = nullptr;
    {
        const TavSDK::MutexLock lock(_mutex);
        _running.erase(ip_job);
        _busyMachines.erase(ip_job->machine);
        // One thread may wait for this machine while another is woken for a machine that is busy.
        _wakeUp.notify_all();
    }
    // Not under the lock: it waits for a callback that is running, and that takes the lock.
    ip_job->onCallerStop.reset();
    ip_job->answer(failure);
}

void JobScheduler::Queue::_Abandon(Job* ip_job)
{
    ip_job->stop.request_stop();
    JobPointer abandoned;
    {
        const TavSDK::MutexLock lock(_mutex);
        const auto found = std::ranges::find(_waiting, ip_job, &JobPointer::get);
        if (found == _waiting.end())
            return;
        abandoned = *found;
        _waiting.erase(found);
    }
    abandoned->answer(MakeFailure(ErrorCode::ProcessingAborted));
}

JobScheduler::JobScheduler(std::size_t i_thread_count)
    : _queue(std::make_shared<Queue>())
{
    _workers.reserve(i_thread_count);
    try {
        for (std::size_t index = 0; index < i_thread_count; ++index) {
            const auto hasEnded = std::make_shared<std::atomic<bool>>(false);
            std::thread thread([queue = _queue, hasEnded]() mutable {
                queue->Run();
                queue.reset();
                *hasEnded = true;
            });
            _workers.push_back({std::move(thread), hasEnded});
        }
    } catch (...) {
        Close();
        throw;
    }
}

JobScheduler::~JobScheduler()
{
    Close();
}

void JobScheduler::_Submit(JobPointer ip_job, std::stop_token i_stop)
{
    _queue->Submit(ip_job, std::move(i_stop));
}

void JobScheduler::Close()
{
    // A job that is answered or stopped here may destroy this.
    const auto queue = _queue;
    std::vector<Worker> workers;
    {
        const TavSDK::MutexLock lock(_mutex);
        workers.swap(_workers);
    }
    queue->Close();
    for (Worker& worker : workers) {
        if (worker.thread.get_id() == std::this_thread::get_id())
            TavSDK::CollectThread(std::move(worker.thread), worker.hasEnded);
        else
            worker.thread.join();
    }
}

} // namespace MachineService
