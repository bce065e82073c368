#include "buildprocessor/JobScheduler.h"

#include "client/interface/CommunicationException.h"

#include <algorithm>

namespace MachineService::BuildProcessor {

namespace {

void Refuse(std::promise<CommandResult>& io_promise, ErrorCode i_code)
{
    io_promise.set_exception(std::make_exception_ptr(CommunicationException(i_code)));
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

std::future<CommandResult> JobScheduler::Submit(const boost::uuids::uuid& i_machine, std::stop_token i_stop,
                                                Work i_work)
{
    auto job = std::make_shared<Job>();
    job->machine = i_machine;
    job->work = std::move(i_work);
    auto future = job->promise.get_future();
    // In place before a thread can take the job; a stop that comes before the job is queued is seen below.
    job->onCallerStop.emplace(std::move(i_stop), [this, raw = job.get()] { _Abandon(raw); });
    bool queued = false;
    {
        const std::lock_guard lock(_mutex);
        queued = !_closed;
        if (queued)
            _waiting.push_back(job);
        _wakeUp.notify_one();
    }
    if (!queued) {
        job->onCallerStop.reset();
        Refuse(job->promise, ErrorCode::ServicesUnavailable);
    } else if (job->stop.stop_requested()) {
        _Abandon(job.get());
    }
    return future;
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
        Refuse(job->promise, ErrorCode::ServicesUnavailable);
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
    CommandResult result;
    std::exception_ptr failure;
    try {
        if (ip_job->stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        result = ip_job->work(ip_job->stop.get_token());
    } catch (...) {
        // Whatever a stopped job stumbled over, it was stopped.
        failure = ip_job->stop.stop_requested()
                      ? std::make_exception_ptr(CommunicationException(ErrorCode::ProcessingAborted))
                      : std::current_exception();
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
    if (failure)
        ip_job->promise.set_exception(failure);
    else
        ip_job->promise.set_value(std::move(result));
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
    Refuse(abandoned->promise, ErrorCode::ProcessingAborted);
}

} // namespace MachineService::BuildProcessor
