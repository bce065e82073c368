#include "contract/ServiceThread.h"

#include "tavsdk/StopExceptions.h"
#include "tavsdk/ThreadCollector.h"

#include <QLoggingCategory>

#include <system_error>
#include <utility>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(Log, "machineservice.services")

} // namespace

ServiceThread::ServiceThread(std::string i_name, Signals i_signals)
    : _name(std::move(i_name))
    , _signals(std::move(i_signals))
{}

bool ServiceThread::Start(std::function<void()> i_work, std::function<void()> i_fail)
{
    const TavSDK::MutexLock lock(_mutex);
    if (_isStopped)
        return false;
    if (_thread.joinable())
        return true;
    try {
        _thread =
            std::thread([this, work = std::move(i_work), fail = std::move(i_fail), hasEnded = _hasEnded]() mutable {
                _Run(work, fail);
                // With them this may go; what they hold is to be gone when the thread has ended.
                fail = nullptr;
                work = nullptr;
                *hasEnded = true;
            });
        return true;
    } catch (const std::system_error& failure) {
        qCCritical(Log, "The service of %s cannot start: %s", _name.c_str(), failure.what());
        return false;
    }
}

void ServiceThread::_Run(const std::function<void()>& i_work, const std::function<void()>& i_fail)
{
    const auto tell = [this](const char* ip_why) {
        qCCritical(Log, "The service of %s ended: %s", _name.c_str(), ip_why);
    };
    if (TavSDK::StopExceptions(i_work, tell))
        return;
    {
        const TavSDK::MutexLock lock(_mutex);
        _isStopped = true;
    }
    TavSDK::StopExceptions(i_fail, tell);
}

void ServiceThread::Stop(const std::function<void()>& i_wake)
{
    std::thread thread;
    {
        const TavSDK::MutexLock lock(_mutex);
        _isStopped = true;
        thread.swap(_thread);
    }
    i_wake();
    if (!thread.joinable())
        return;
    if (thread.get_id() == std::this_thread::get_id()) {
        _hasLeft = true;
        TavSDK::CollectThread(std::move(thread), _hasEnded);
        return;
    }
    // Not under the lock: a slot on that thread may ask for a refresh.
    thread.join();
}

bool ServiceThread::IsStopped() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _isStopped;
}

bool ServiceThread::IsRunning() const
{
    const TavSDK::MutexLock lock(_mutex);
    return !_isStopped && _thread.joinable();
}

void ServiceThread::Tell(const std::function<void()>& i_call) const
{
    if (_hasLeft)
        return;
    TavSDK::StopExceptions(
        i_call, [this](const char* ip_why) { qCWarning(Log, "A listener of %s failed: %s", _name.c_str(), ip_why); });
}

void ServiceThread::TellNews(const MachineNews& i_news) const
{
    for (const auto& id : i_news.removed)
        Tell([&] { _signals.removed(id); });
    for (const auto& update : i_news.updated)
        Tell([&] { _signals.updated(update.first, update.second); });
    for (const auto& id : i_news.added)
        Tell([&] { _signals.added(id); });
}

void ServiceThread::TellStatus(ServiceId i_service, ServiceStatus i_status) const
{
    Tell([&] { _signals.statusUpdated(i_service, i_status); });
}

} // namespace MachineService
