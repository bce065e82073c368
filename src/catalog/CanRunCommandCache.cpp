#include "catalog/CanRunCommandCache.h"

#include "tavsdk/Mutex.h"
#include "tavsdk/ThreadCollector.h"

#include <QLoggingCategory>

#include <boost/uuid/uuid.hpp>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <optional>
#include <utility>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(CatalogLog, "machineservice.catalog")

using Answers = std::map<boost::uuids::uuid, bool>;

// A future cannot be waited for together with a flag. Short slices first, because most services answer at once; longer
// ones then, because hundreds of workers may wait for a service that hangs.
constexpr std::chrono::milliseconds FirstWaitSlice{1};
constexpr std::chrono::milliseconds LongestWaitSlice{50};

} // namespace

struct CanRunCommandCache::State
{
    State(std::function<std::future<bool>(const boost::uuids::uuid&)> i_fetch, std::chrono::milliseconds i_interval,
          std::function<void()> i_on_changed)
        : fetch(std::move(i_fetch))
        , interval(i_interval)
        , onChanged(std::move(i_on_changed))
    {}

    const std::function<std::future<bool>(const boost::uuids::uuid&)> fetch;
    const std::chrono::milliseconds interval;
    const std::function<void()> onChanged;

    /// Written once, with the mutex held like stop; read by the worker between two slices of waiting without it.
    std::atomic<bool> isAbandoned = false;

    // Guards all below. The flags are set with it held, because a flag set between the worker's look at it and its
    // falling asleep would wake nobody. Held neither while the service is asked nor while onChanged runs.
    TavSDK::Mutex mutex;
    std::condition_variable_any wakeUp;
    Answers values TAVSDK_GUARDED_BY(mutex);
    bool stop TAVSDK_GUARDED_BY(mutex) = false;
    bool requested TAVSDK_GUARDED_BY(mutex) = false;
    bool isIdle TAVSDK_GUARDED_BY(mutex) = false;     ///< the worker waits for a request
    bool isFetching TAVSDK_GUARDED_BY(mutex) = false; ///< the worker may be waiting for the service

    /// The worker's life.
    void Run();
    /// Until the interval is over or stop is set.
    void Pause(TavSDK::MutexLock& io_lock) TAVSDK_REQUIRES(mutex);
    /// Asks the service about every command; true when an answer changed.
    bool Refresh(Answers& io_values) const;
    /// Empty when the service failed, or was given up.
    std::optional<bool> Ask(const boost::uuids::uuid& i_command_id) const;
    void Report() const;
    void Stop(bool i_abandon);
};

void CanRunCommandCache::State::Run()
{
    TavSDK::MutexLock lock(mutex);
    while (!stop) {
        requested = false;
        isFetching = true;
        Answers snapshot = values;
        const bool has_asked = !snapshot.empty();
        lock.unlock();
        const bool has_changed = Refresh(snapshot);
        lock.lock();
        isFetching = false;
        // Commands first asked about during the pass stay, unanswered: the request of their question starts the next
        // pass. Dropped, they would wait for somebody to ask again, and nobody has to when this pass changed nothing.
        snapshot.merge(values);
        values.swap(snapshot);
        if (has_changed && !stop) {
            lock.unlock();
            Report();
            lock.lock();
        }
        // Requests do not shorten the pause, or an eager host would have the service asked without a break; stop ends
        // it. A pass that asked nothing, as the first one before any question, needs none.
        if (has_asked)
            Pause(lock);
        isIdle = true;
        while (!stop && !requested)
            wakeUp.wait(lock);
        isIdle = false;
    }
}

void CanRunCommandCache::State::Pause(TavSDK::MutexLock& io_lock)
{
    using Clock = std::chrono::steady_clock;
    const auto now = Clock::now();
    const auto longest = std::chrono::floor<std::chrono::milliseconds>(Clock::time_point::max() - now);
    // "For ever" is more than the clock can count.
    const auto end = now + std::clamp(interval, std::chrono::milliseconds::zero(), longest);
    while (!stop && wakeUp.wait_until(io_lock, end) == std::cv_status::no_timeout)
        ;
}

bool CanRunCommandCache::State::Refresh(Answers& io_values) const
{
    bool has_changed = false;
    for (auto& [id, value] : io_values) {
        if (isAbandoned)
            return false;
        const std::optional<bool> answer = Ask(id);
        has_changed |= answer && *answer != value;
        value = answer.value_or(value);
    }
    return has_changed;
}

std::optional<bool> CanRunCommandCache::State::Ask(const boost::uuids::uuid& i_command_id) const
{
    try {
        std::future<bool> answer = fetch(i_command_id);
        if (!answer.valid())
            return false;
        auto slice = FirstWaitSlice;
        while (answer.wait_for(slice) == std::future_status::timeout) {
            if (isAbandoned)
                return std::nullopt;
            slice = std::min(2 * slice, LongestWaitSlice);
        }
        return answer.get();
    } catch (...) {
        return std::nullopt;
    }
}

void CanRunCommandCache::State::Report() const
{
    // An exception that left the thread would end the host.
    try {
        onChanged();
    } catch (const std::exception& exception) {
        qCWarning(CatalogLog, "Changed answers of a machine could not be reported: %s", exception.what());
    } catch (...) {
        qCWarning(CatalogLog, "Changed answers of a machine could not be reported.");
    }
}

void CanRunCommandCache::State::Stop(bool i_abandon)
{
    {
        const TavSDK::MutexLock lock(mutex);
        stop = true;
        if (i_abandon)
            isAbandoned = true;
    }
    wakeUp.notify_one();
}

CanRunCommandCache::CanRunCommandCache(std::function<std::future<bool>(const boost::uuids::uuid&)> i_fetch,
                                       std::chrono::milliseconds i_interval, std::function<void()> i_on_changed)
    : _state(std::make_shared<State>(std::move(i_fetch), i_interval, std::move(i_on_changed)))
    , _hasEnded(std::make_shared<std::atomic<bool>>(false))
    , _worker([state = _state, has_ended = _hasEnded] {
        state->Run();
        *has_ended = true;
    })
{}

CanRunCommandCache::~CanRunCommandCache()
{
    if (!_worker.joinable())
        return;
    _state->Stop(false);
    if (_worker.get_id() == std::this_thread::get_id())
        _LetWorkerGo();
    else
        _worker.join();
}

void CanRunCommandCache::_LetWorkerGo()
{
    TavSDK::CollectThread(std::move(_worker), _hasEnded);
}

bool CanRunCommandCache::Get(const boost::uuids::uuid& i_command_id)
{
    bool answer = false;
    bool must_wake = false;
    {
        const TavSDK::MutexLock lock(_state->mutex);
        answer = _state->values.try_emplace(i_command_id, false).first->second;
        // Waking costs a system call: only the first question after a pass pays for it.
        must_wake = _state->isIdle && !_state->requested;
        _state->requested = true;
    }
    if (must_wake)
        _state->wakeUp.notify_one();
    return answer;
}

void CanRunCommandCache::Abandon()
{
    _state->Stop(true);
    // The UI thread must not stand still for as long as the worker sleeps on the service.
    const bool is_fetching = [this] {
        const TavSDK::MutexLock lock(_state->mutex);
        return _state->isFetching;
    }();
    if (is_fetching)
        _LetWorkerGo();
}

std::unique_ptr<ICanRunCommandCache>
CreateCanRunCommandCache(std::function<std::future<bool>(const boost::uuids::uuid&)> i_fetch,
                         std::chrono::milliseconds i_interval, std::function<void()> i_on_changed)
{
    return std::make_unique<CanRunCommandCache>(std::move(i_fetch), i_interval, std::move(i_on_changed));
}

} // namespace MachineService
