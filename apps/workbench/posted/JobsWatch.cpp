#include "workbench/posted/JobsWatch.h"

#include "tavsdk/StopExceptions.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace Workbench {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds AskingInterval(300);
constexpr milliseconds SearchInterval(2000);
// Beyond that one question for all is less work than one for each.
constexpr std::size_t MaxJobs = 50;

} // namespace

JobsWatch::JobsWatch(MakeJobSource i_make_source, milliseconds i_patience, QObject* ip_parent)
    : QObject(ip_parent)
    , _makeSource(std::move(i_make_source))
    , _patience(i_patience)
    , _thread([this] { _Run(); })
{}

JobsWatch::~JobsWatch()
{
    _stop.request_stop();
    _thread.join();
}

JobsWatch::Changes JobsWatch::Take()
{
    const TavSDK::MutexLock lock(_mutex);
    _isTold = false;
    return std::exchange(_changes, {});
}

void JobsWatch::_Note(const Hosting::Jobs::Change& i_change)
{
    using Kind = Hosting::Jobs::Change::Kind;
    {
        const TavSDK::MutexLock lock(_mutex);
        if (i_change.kind == Kind::Job)
            _changes.jobs.insert(i_change.job);
        else
            (i_change.kind == Kind::Machine ? _changes.areMachines : _changes.isAll) = true;
        if (_changes.jobs.size() > MaxJobs)
            _changes.isAll = true;
        if (_changes.isAll)
            _changes.jobs.clear();
        if (std::exchange(_isTold, true))
            return;
    }
    // The destructor waits for this thread; what is queued goes with the receiver.
    QMetaObject::invokeMethod(this, &JobsWatch::Changed, Qt::QueuedConnection);
}

void JobsWatch::_Listen()
{
    const auto source = _makeSource(_stop.get_token());
    const QString user = QString::fromStdString(source->GetUser());
    _wasReached = true;
    QMetaObject::invokeMethod(
        this, [this, user] { Q_EMIT Reached(user); }, Qt::QueuedConnection);
    source->Listen([this](const Hosting::Jobs::Change& i_change) {
        _Note(i_change);
        return !_stop.stop_requested();
    });
}

bool JobsWatch::_Wait(milliseconds i_time) const
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any().wait_for(lock, _stop.get_token(), i_time, [] { return false; });
    return !_stop.stop_requested();
}

void JobsWatch::_Run()
{
    auto since = Clock::now();
    bool isTold = false;
    for (bool isStarting = true; !_stop.stop_requested();) {
        QString why;
        _wasReached = false;
        TavSDK::StopExceptions([this] { _Listen(); }, [&why](const char* ip_why) { why = QString::fromUtf8(ip_why); });
        if (_wasReached) {
            isStarting = isTold = false;
            since = Clock::now();
        } else if (isStarting && Clock::now() - since > _patience) {
            isStarting = false;
        }
        const bool isNews = !isStarting && !_stop.stop_requested() && !std::exchange(isTold, true);
        if (isNews)
            QMetaObject::invokeMethod(
                this, [this, why] { Q_EMIT Lost(why); }, Qt::QueuedConnection);
        if (!_Wait(isStarting ? AskingInterval : SearchInterval))
            return;
    }
}

} // namespace Workbench
