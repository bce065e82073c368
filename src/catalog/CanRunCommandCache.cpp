#include "catalog/CanRunCommandCache.h"

#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"
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

using Answers = std::map<boost::uuids::uuid, KnownCanRunAnswer>;
using Fetch = CanRunCommandCache::Fetch;

// A future cannot be waited for together with a flag. Short slices first, because most services answer at once; longer
// ones then, because hundreds of workers may wait for a service that hangs.
constexpr std::chrono::milliseconds FirstWaitSlice{1};
constexpr std::chrono::milliseconds LongestWaitSlice{50};
/// A question that is open for longer counts as failing: a service that answers does so at once.
constexpr std::chrono::seconds LongestAnswer{3};

CanRunAnswer ToAnswer(bool i_can_run)
{
    return {i_can_run, {}};
}
CanRunAnswer ToAnswer(CanRunAnswer i_answer)
{
    return i_answer;
}

} // namespace

struct CanRunCommandCache::State
{
    State(Fetch i_fetch, std::chrono::milliseconds i_interval, std::function<void()> i_on_changed)
        : fetch(std::move(i_fetch))
        , interval(i_interval)
        , onChanged(std::move(i_on_changed))
    {}

    const Fetch fetch;
    const std::chrono::milliseconds interval;
    const std::function<void()> onChanged;

    /// Written once, with the mutex held like stop; read by the worker between two slices of waiting without it.
    std::atomic<bool> isAbandoned = false;

    // Guards all below. The flags are set with it held, because a flag set between the worker's look at it and its
    // falling asleep would wake nobody. Held neither while the service is asked nor while onChanged runs.
    mutable TavSDK::Mutex mutex;
    std::condition_variable_any wakeUp;
    Answers values TAVSDK_GUARDED_BY(mutex);
    /// Of the question that the worker waits for now.
    struct Question
    {
        KnownCanRunAnswer::Time at; ///< for the user
        std::chrono::steady_clock::time_point begun;
    };
    mutable std::optional<Question> open TAVSDK_GUARDED_BY(mutex);
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
    void SetOpen(std::optional<Question> i_question) const;
    /// Empty when the service failed, or was given up.
    std::optional<CanRunAnswer> Ask(const boost::uuids::uuid& i_command_id) const;
    template <class Future>
    std::optional<CanRunAnswer> Await(Future i_answer) const;
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
        const bool hasAsked = !snapshot.empty();
        lock.unlock();
        const bool hasChanged = Refresh(snapshot);
        lock.lock();
        isFetching = false;
        // Commands first asked about during the pass stay, unanswered: the request of their question starts the next
        // pass. Dropped, they would wait for somebody to ask again, and nobody has to when this pass changed nothing.
        snapshot.merge(values);
        values.swap(snapshot);
        if (hasChanged && !stop) {
            lock.unlock();
            Report();
            lock.lock();
        }
        // Requests do not shorten the pause, or an eager host would have the service asked without a break; stop ends
        // it. A pass that asked nothing, as the first one before any question, needs none.
        if (hasAsked)
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
    bool hasChanged = false;
    for (auto& [id, known] : io_values) {
        if (isAbandoned)
            return false;
        const Question question{std::chrono::system_clock::now(), std::chrono::steady_clock::now()};
        SetOpen(question);
        std::optional<CanRunAnswer> answer = Ask(id);
        SetOpen(std::nullopt);
        if (!answer) {
            known.failingSince = known.failingSince.value_or(question.at);
            continue;
        }
        hasChanged |= *answer != known.answer;
        known = {*std::move(answer), std::chrono::system_clock::now(), std::nullopt};
    }
    return hasChanged;
}

void CanRunCommandCache::State::SetOpen(std::optional<Question> i_question) const
{
    const TavSDK::MutexLock lock(mutex);
    open = i_question;
}

std::optional<CanRunAnswer> CanRunCommandCache::State::Ask(const boost::uuids::uuid& i_command_id) const
{
    try {
        return std::visit([&](const auto& i_fetch) { return Await(i_fetch(i_command_id)); }, fetch);
    } catch (...) {
        return std::nullopt;
    }
}

template <class Future>
std::optional<CanRunAnswer> CanRunCommandCache::State::Await(Future i_answer) const
{
    if (!i_answer.valid())
        return CanRunAnswer();
    auto slice = FirstWaitSlice;
    while (i_answer.wait_for(slice) == std::future_status::timeout) {
        if (isAbandoned)
            return std::nullopt;
        slice = std::min(2 * slice, LongestWaitSlice);
    }
    return ToAnswer(i_answer.get());
}

void CanRunCommandCache::State::Report() const
{
    // An exception that left the thread would end the host.
    TavSDK::StopExceptions(onChanged, [](const char* ip_why) {
        qCWarning(CatalogLog, "Changed answers of a machine could not be reported: %s", ip_why);
    });
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

CanRunCommandCache::CanRunCommandCache(Fetch i_fetch, std::chrono::milliseconds i_interval,
                                       std::function<void()> i_on_changed)
    : _state(std::make_shared<State>(std::move(i_fetch), i_interval, std::move(i_on_changed)))
    , _hasEnded(std::make_shared<std::atomic<bool>>(false))
    , _worker([state = _state, hasEnded = _hasEnded] {
        state->Run();
        *hasEnded = true;
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
    bool mustWake = false;
    {
        const TavSDK::MutexLock lock(_state->mutex);
        answer = _state->values.try_emplace(i_command_id).first->second.answer.canRun;
        // Waking costs a system call: only the first question after a pass pays for it.
        mustWake = _state->isIdle && !_state->requested;
        _state->requested = true;
    }
    if (mustWake)
        _state->wakeUp.notify_one();
    return answer;
}

KnownCanRunAnswer CanRunCommandCache::GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const
{
    const TavSDK::MutexLock lock(_state->mutex);
    const auto found = _state->values.find(i_command_id);
    if (found == _state->values.end())
        return {};
    KnownCanRunAnswer known = found->second;
    // Whichever command it is about: the others wait behind it.
    if (_state->open && !known.failingSince && std::chrono::steady_clock::now() - _state->open->begun > LongestAnswer)
        known.failingSince = _state->open->at;
    return known;
}

void CanRunCommandCache::Abandon()
{
    _state->Stop(true);
    // The UI thread must not stand still for as long as the worker sleeps on the service.
    const bool isFetching = [this] {
        const TavSDK::MutexLock lock(_state->mutex);
        return _state->isFetching;
    }();
    if (isFetching)
        _LetWorkerGo();
}

std::unique_ptr<ICanRunCommandCache>
CreateCanRunCommandCache(std::function<std::future<bool>(const boost::uuids::uuid&)> i_fetch,
                         std::chrono::milliseconds i_interval, std::function<void()> i_on_changed)
{
    return std::make_unique<CanRunCommandCache>(std::move(i_fetch), i_interval, std::move(i_on_changed));
}

} // namespace MachineService
