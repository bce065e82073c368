#include "machinemanager/dispatch/Dispatcher.h"

#include "machinemanager/dispatch/DeadlineWatch.h"
#include "machinemanager/dispatch/JobRun.h"
#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/FileStore.h"
#include "tavsdk/StopExceptions.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A store that is away is asked again after this time.
constexpr milliseconds StoreRetry(1000);

} // namespace

/// A machine that has a job.
struct Lane
{
    boost::uuids::uuid job = {};
    std::shared_ptr<RunControl> control;
    std::shared_ptr<std::atomic<bool>> hasEnded;
    std::thread thread;
};

struct Dispatcher::Impl
{
    Impl(JobStore& io_store, FileStore& io_files, MachineBoard& io_board, DispatchOptions i_options)
        : board(io_board)
        , context{io_store, io_files, io_board, std::move(i_options)}
    {}

    void Run();
    /// \return when to work again at the latest.
    steady_clock::time_point Work();
    void ApplyDeadlines();
    void AdoptJobs();
    void ClaimJobs();
    void Launch(Job i_job);
    void CollectLanes();
    void Beat();
    void FreeLostClaims();
    void Hear(const boost::uuids::uuid& i_job);
    bool IsBusy(const boost::uuids::uuid& i_machine);
    steady_clock::time_point GetNextWake(Time i_looked_at);
    steady_clock::time_point GetMoment() const
    {
        return context.options.clock ? context.options.clock() : steady_clock::now();
    }
    void Ring();
    bool Wait(steady_clock::time_point i_until);

    struct Heard
    {
        std::uint64_t beats = 0;
        steady_clock::time_point since;
    };

    MachineBoard& board;
    const DispatchContext context;
    std::shared_ptr<void> subscription;
    boost::signals2::scoped_connection boardConnection;
    std::map<std::string, Heard> others; ///< of the thread
    DeadlineWatch deadlines;             ///< of the thread
    std::thread thread;

    mutable TavSDK::Mutex mutex; ///< guards everything below; not held while the store is asked
    std::condition_variable_any wakeUp;
    bool isRung TAVSDK_GUARDED_BY(mutex) = false;
    bool isStopped TAVSDK_GUARDED_BY(mutex) = false;
    bool isIdle TAVSDK_GUARDED_BY(mutex) = true;
    std::map<boost::uuids::uuid, Lane> lanes TAVSDK_GUARDED_BY(mutex); ///< by machine
};

void Dispatcher::Impl::Ring()
{
    const TavSDK::MutexLock lock(mutex);
    isRung = true;
    wakeUp.notify_all();
}

/// \return false when it is to stop.
bool Dispatcher::Impl::Wait(steady_clock::time_point i_until)
{
    TavSDK::MutexLock lock(mutex);
    while (!isRung && !isStopped && steady_clock::now() < i_until)
        wakeUp.wait_until(lock, i_until);
    isRung = false;
    return !isStopped;
}

/// On the thread that changed the job, or one of the store's.
void Dispatcher::Impl::Hear(const boost::uuids::uuid& i_job)
{
    std::shared_ptr<RunControl> control;
    {
        const TavSDK::MutexLock lock(mutex);
        for (const auto& [machine, lane] : lanes) {
            if (lane.job == i_job)
                control = lane.control;
        }
    }
    if (control) {
        const auto job = context.store.Find(i_job);
        if (!job || job->phase == JobPhase::Canceling || !NeedsClaim(job->phase))
            control->Interrupt();
        else
            control->Notice();
    }
    Ring();
}

void Dispatcher::Impl::Run()
{
    auto until = steady_clock::now();
    while (Wait(until)) {
        try {
            until = Work();
        } catch (const ManagerError& failure) {
            if (context.options.log)
                context.options.log(std::string("the queue waits: ") + failure.what());
            until = steady_clock::now() + StoreRetry;
        }
    }
}

steady_clock::time_point Dispatcher::Impl::Work()
{
    const Time now = context.store.Now();
    CollectLanes();
    Beat();
    FreeLostClaims();
    ApplyDeadlines();
    AdoptJobs();
    ClaimJobs();
    return GetNextWake(now);
}

void Dispatcher::Impl::CollectLanes()
{
    std::vector<std::thread> ended;
    {
        const TavSDK::MutexLock lock(mutex);
        for (auto lane = lanes.begin(); lane != lanes.end();) {
            if (*lane->second.hasEnded) {
                ended.push_back(std::move(lane->second.thread));
                lane = lanes.erase(lane);
            } else {
                ++lane;
            }
        }
    }
    for (auto& lane : ended)
        lane.join();
}

void Dispatcher::Impl::Beat()
{
    {
        const TavSDK::MutexLock lock(mutex);
        if (lanes.empty())
            return;
    }
    context.store.Beat();
}

void Dispatcher::Impl::FreeLostClaims()
{
    const auto now = steady_clock::now();
    std::map<std::string, Heard> heard;
    for (const auto& [daemon, beats] : context.store.GetBeats()) {
        if (daemon == context.store.GetDaemon())
            continue;
        const auto known = others.find(daemon);
        const auto since = known != others.end() && known->second.beats == beats ? known->second.since : now;
        if (now - since >= context.options.silence) {
            for (const auto& job : context.store.ReleaseClaims(daemon))
                context.Log(job, "its daemon " + daemon + " is gone");
        } else {
            heard[daemon] = {beats, since};
        }
    }
    others = std::move(heard);
}

void Dispatcher::Impl::ApplyDeadlines()
{
    for (const auto& job : deadlines.FindOverdue(context.store.GetTimed(), context.store.Now(), GetMoment())) {
        try {
            context.store.Change(
                job.id,
                {GetInfo(job.phase).atDeadline, "system",
                 job.phase == JobPhase::Starting
                     ? "The printer was told to begin and has not said that it did; look at it, then say "
                       "whether the job is to be started again."
                     : std::string("This took too long.")},
                job.version);
        } catch (const ManagerError& failure) {
            if (failure.GetKind() == ManagerError::Kind::Storage)
                throw;
            // It went on at the same moment.
        }
    }
}

bool Dispatcher::Impl::IsBusy(const boost::uuids::uuid& i_machine)
{
    const TavSDK::MutexLock lock(mutex);
    return lanes.contains(i_machine);
}

void Dispatcher::Impl::AdoptJobs()
{
    for (const auto& job : context.store.GetUnclaimed()) {
        if (IsBusy(job.machine))
            continue;
        if (auto adopted = context.store.Adopt(job.id))
            Launch(std::move(*adopted));
    }
}

void Dispatcher::Impl::ClaimJobs()
{
    const auto targets = context.store.GetWaitingTargets();
    bool isClaimed = false;
    if (!targets.empty()) {
        for (const auto& machine : board.GetMachines()) {
            const bool isWanted = std::any_of(targets.begin(), targets.end(), [&](const JobTarget& i_target) {
                return i_target.IsGroup() ? i_target.model == machine.entry.model
                                          : i_target.machine == machine.entry.id;
            });
            if (!isWanted || !machine.isOffered || IsBusy(machine.entry.id))
                continue;
            auto job = context.store.ClaimNext(machine.entry.id, machine.entry.name, machine.entry.model,
                                               [&](const Job& i_job) -> std::string {
                                                   if (!context.files.Has(i_job.platform.hash))
                                                       return "Its files are with another daemon.";
                                                   const auto refusal = FindRefusal(i_job, machine);
                                                   return refusal ? refusal->sentence : std::string();
                                               });
            if (!job)
                continue;
            isClaimed = true;
            Launch(std::move(*job));
        }
    }
    const TavSDK::MutexLock lock(mutex);
    isIdle = lanes.empty() && targets.empty() && !isClaimed;
}

void Dispatcher::Impl::Launch(Job i_job)
{
    Lane lane;
    lane.job = i_job.id;
    lane.control = std::make_shared<RunControl>();
    lane.hasEnded = std::make_shared<std::atomic<bool>>(false);
    const TavSDK::MutexLock lock(mutex);
    const auto machine = i_job.machine;
    lane.thread = std::thread([this, job = std::move(i_job), control = lane.control, ended = lane.hasEnded]() mutable {
        JobRun(context, std::move(job), control).Run();
        *ended = true;
        Ring();
    });
    lanes.emplace(machine, std::move(lane));
    isIdle = false;
}

steady_clock::time_point Dispatcher::Impl::GetNextWake(Time i_looked_at)
{
    const auto now = steady_clock::now();
    // A daemon that was killed at the wrong moment may have told nobody of its last change.
    auto until = now + std::chrono::seconds(30);
    if (const auto due = context.store.GetNextAttempt(i_looked_at))
        until = std::min(until, now + std::max(milliseconds(0), *due - context.store.Now()) + milliseconds(1));
    if (const auto due = deadlines.GetNext())
        until = std::min(until, now + std::max(steady_clock::duration(0), *due - GetMoment()) + milliseconds(1));
    const TavSDK::MutexLock lock(mutex);
    if (!lanes.empty() || !others.empty())
        until = std::min(until, now + context.options.beat);
    return until;
}

Dispatcher::Dispatcher(JobStore& io_store, FileStore& io_files, MachineBoard& io_board, DispatchOptions i_options)
    : _impl(std::make_shared<Impl>(io_store, io_files, io_board, std::move(i_options)))
{}

Dispatcher::~Dispatcher()
{
    TavSDK::StopExceptions([this] { Stop(); }, [](const char*) {});
}

void Dispatcher::Start()
{
    JobStore& store = _impl->context.store;
    for (const auto& job : store.ReleaseClaims(store.GetDaemon()))
        _impl->context.Log(job, std::string("is ") + GetInfo(job.phase).name + " after the manager's end");
    _impl->subscription = store.Subscribe([impl = _impl.get()](const boost::uuids::uuid& i_job) {
        TavSDK::StopExceptions([&] { impl->Hear(i_job); }, [](const char*) {});
    });
    // A call may be on its way when this goes.
    _impl->boardConnection = _impl->board.ConnectChanged([weak = std::weak_ptr(_impl)] {
        if (const auto impl = weak.lock())
            impl->Ring();
    });
    _impl->thread = std::thread([impl = _impl.get()] { impl->Run(); });
}

void Dispatcher::Stop()
{
    {
        const TavSDK::MutexLock lock(_impl->mutex);
        _impl->isStopped = true;
        _impl->wakeUp.notify_all();
    }
    if (!_impl->thread.joinable())
        return;
    _impl->thread.join();
    std::map<boost::uuids::uuid, Lane> lanes;
    {
        const TavSDK::MutexLock lock(_impl->mutex);
        lanes.swap(_impl->lanes);
    }
    for (auto& [machine, lane] : lanes)
        lane.control->Stop();
    for (auto& [machine, lane] : lanes)
        lane.thread.join();
    _impl->boardConnection.disconnect();
    _impl->subscription.reset();
    JobStore& store = _impl->context.store;
    store.ReleaseClaims(store.GetDaemon());
}

void Dispatcher::Wake()
{
    _impl->Ring();
}

bool Dispatcher::IsIdle() const
{
    const TavSDK::MutexLock lock(_impl->mutex);
    return _impl->isIdle && _impl->lanes.empty();
}

} // namespace MachineService::MachineManager
