#include "contract/JobScheduler.h"

#include "client/interface/CommunicationException.h"

#include <algorithm>

namespace MachineService {

namespace {

std::exception_ptr MakeFailure(ErrorCode i_code)
{
    return std::make_exception_ptr(CommunicationException(i_code));
}

} // namespace

JobScheduler::JobScheduler(std::size_t i_thread_count)
{
    try {
        for (std::size_t index = 0; index < i_thread_count; ++index)
            _threads.emplace_back([this] { _RunThread(); });
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
    // In place before a thread can take the job; a stop that comes before the job is queued is seen below.
    ip_job->onCallerStop.emplace(std::move(i_stop), [this, raw = ip_job.get()] { _Abandon(raw); });
    bool queued = false;
    {
        const std::lock_guard lock(_mutex);
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

void JobScheduler::Close()
{
    std::list<JobPointer> refused;
    std::set<JobPointer> stopped;
    {
        const std::lock_guard lock(_mutex);
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
    const std::lock_guard lock(_threadsMutex);
    for (auto& thread : _threads)
        thread.join();
    _threads.clear();
}

void JobScheduler::_RunThread()
{
    while (const auto job = _Take())
        _Run(job);
}

JobScheduler::JobPointer JobScheduler::_Take()
{
    std::unique_lock lock(_mutex);
    while (!_closed) {
        const auto next = std::find_if(_waiting.begin(), _waiting.end(),
                                       [&](const auto& i_job) { return !_busyMachines.contains(i_job->machine); });
        if (next != _waiting.end()) {
            const JobPointer job = *next;
            _waiting.erase(next);
            _running.insert(job);
            _busyMachines.insert(job->machine);
            return job;
        }
        _wakeUp.wait(lock);
    }
    return nullptr;
}

void JobScheduler::_Run(const JobPointer& ip_job)
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
    ip_job->work = nullptr;
    {
        const std::lock_guard lock(_mutex);
        _running.erase(ip_job);
        _busyMachines.erase(ip_job->machine);
        // One thread may wait for this machine while another is woken for a machine that is busy.
        _wakeUp.notify_all();
    }
    // Not under the lock: it waits for a callback that is running, and that takes the lock.
    ip_job->onCallerStop.reset();
    ip_job->answer(failure);
}

void JobScheduler::_Abandon(Job* ip_job)
{
    ip_job->stop.request_stop();
    JobPointer abandoned;
    {
        const std::lock_guard lock(_mutex);
        const auto found =
            std::find_if(_waiting.begin(), _waiting.end(), [&](const auto& i_job) { return i_job.get() == ip_job; });
        if (found == _waiting.end())
            return;
        abandoned = *found;
        _waiting.erase(found);
    }
    abandoned->answer(MakeFailure(ErrorCode::ProcessingAborted));
}

} // namespace MachineService
