#include "contract/ServiceCatalogBase.h"

#include "client/interface/CommunicationException.h"

#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"
#include "tavsdk/ThreadCollector.h"

#include <QLoggingCategory>

#include <atomic>
#include <condition_variable>
#include <thread>

namespace MachineService {

namespace {

Q_LOGGING_CATEGORY(Log, "machineservice.services")

} // namespace

/// Outlives the catalog where a slot on its thread destroys it; the catalog is not touched any more then.
struct ServiceCatalogBase::Impl
{
    Impl(ServiceCatalogBase& io_owner, ServiceId i_service, std::string i_name)
        : owner(io_owner)
        , added(io_owner._machineAdded)
        , removed(io_owner._machineRemoved)
        , updated(io_owner._machineUpdated)
        , statusUpdated(io_owner._serviceStatusUpdated)
        , service(i_service)
        , name(std::move(i_name))
    {}

    void RunThread();
    void Run();
    void TellNews();
    void TellStatus(ServiceStatus i_status)
    {
        Tell([&] { statusUpdated(service, i_status); });
    }
    /// What a listener throws is its own fault: the service goes on with the rest of the news.
    template <class Signal>
    void Tell(const Signal& i_signal) const
    {
        if (isLeft)
            return;
        TavSDK::StopExceptions(i_signal, [this](const char* ip_why) {
            qCWarning(Log, "A listener of %s failed: %s", name.c_str(), ip_why);
        });
    }
    bool IsStopped()
    {
        const TavSDK::MutexLock lock(mutex);
        return isStopped;
    }

    ServiceCatalogBase& owner;
    // The signals as slots, which live until a call is over.
    const MachineSignal::slot_type added;
    const MachineSignal::slot_type removed;
    const MachineUpdatedSignal::slot_type updated;
    const ServiceStatusSignal::slot_type statusUpdated;
    const ServiceId service;
    const std::string name;
    bool isLeft = false; ///< used by the service's thread only: a slot on it stopped the service
    const std::shared_ptr<std::atomic<bool>> hasEnded = std::make_shared<std::atomic<bool>>(false);
    TavSDK::Mutex mutex;                             ///< guards everything below
    bool isStopped TAVSDK_GUARDED_BY(mutex) = false; ///< for good: by Stop() or by a failure
    bool isWoken TAVSDK_GUARDED_BY(mutex) = false;
    std::condition_variable_any wakeUp;
    std::thread thread TAVSDK_GUARDED_BY(mutex);
};

void ServiceCatalogBase::Impl::RunThread()
{
    const auto tell = [this](const char* ip_why) {
        qCCritical(Log, "The service of %s ended: %s", name.c_str(), ip_why);
    };
    if (TavSDK::StopExceptions([this] { Run(); }, tell))
        return;
    {
        const TavSDK::MutexLock lock(mutex);
        isStopped = true;
    }
    TellStatus(ServiceStatus::Failed);
}

void ServiceCatalogBase::Impl::Run()
{
    TellStatus(ServiceStatus::Starting);
    if (!isLeft)
        TellNews();
    TellStatus(ServiceStatus::Running);
    while (!isLeft) {
        owner._Wait();
        if (IsStopped())
            return;
        TellNews();
    }
}

void ServiceCatalogBase::Impl::TellNews()
{
    const MachineNews news = owner._FindNews();
    for (const auto& id : news.removed)
        Tell([&] { removed(id); });
    for (const auto& update : news.updated)
        Tell([&] { updated(update.first, update.second); });
    for (const auto& id : news.added)
        Tell([&] { added(id); });
}

ServiceCatalogBase::ServiceCatalogBase(ServiceId i_service, std::string i_name)
    : _impl(std::make_shared<Impl>(*this, i_service, std::move(i_name)))
{}

ServiceCatalogBase::~ServiceCatalogBase()
{
    ServiceCatalogBase::Stop();
}

void ServiceCatalogBase::Stop()
{
    std::thread thread;
    {
        const TavSDK::MutexLock lock(_impl->mutex);
        _impl->isStopped = true;
        thread.swap(_impl->thread);
    }
    if (!thread.joinable())
        return;
    _Wake();
    if (thread.get_id() == std::this_thread::get_id()) {
        _impl->isLeft = true;
        TavSDK::CollectThread(std::move(thread), _impl->hasEnded);
        return;
    }
    // Not under the lock: a slot on that thread may ask for a refresh.
    thread.join();
}

bool ServiceCatalogBase::Start(ServiceId i_service)
{
    if (i_service != _impl->service)
        return false;
    const TavSDK::MutexLock lock(_impl->mutex);
    if (_impl->isStopped)
        return false;
    if (_impl->thread.joinable())
        return true;
    try {
        _impl->thread = std::thread([impl = _impl] {
            impl->RunThread();
            *impl->hasEnded = true;
        });
        return true;
    } catch (const std::system_error& failure) {
        qCCritical(Log, "The service of %s cannot start: %s", _impl->name.c_str(), failure.what());
        return false;
    }
}

bool ServiceCatalogBase::Refresh(ServiceId i_service)
{
    if (i_service != _impl->service)
        return false;
    {
        const TavSDK::MutexLock lock(_impl->mutex);
        if (_impl->isStopped || !_impl->thread.joinable())
            return false;
    }
    _Wake();
    return true;
}

void ServiceCatalogBase::_Wait()
{
    TavSDK::MutexLock lock(_impl->mutex);
    while (!_impl->isWoken && !_impl->isStopped)
        _impl->wakeUp.wait(lock);
    _impl->isWoken = false;
}

void ServiceCatalogBase::_Wake()
{
    const TavSDK::MutexLock lock(_impl->mutex);
    _impl->isWoken = true;
    _impl->wakeUp.notify_one();
}

AuthenticationResult ServiceCatalogBase::SetAuthentication(ServiceId /*i_service*/,
                                                           const std::optional<AuthenticationData>& /*i_data*/)
{
    return AuthenticationResult::NotRequired;
}

bool ServiceCatalogBase::HasMachine(const boost::uuids::uuid& i_id) const
{
    return _MakeMachine(i_id).has_value();
}

Machine ServiceCatalogBase::GetMachine(const boost::uuids::uuid& i_id) const
{
    if (auto machine = _MakeMachine(i_id))
        return *machine;
    throw CommunicationException(ErrorCode::MachineNotFound);
}

std::optional<Machine> ServiceCatalogBase::TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                                         MachineRepresentation i_representation) const
{
    if (i_service != _impl->service)
        return std::nullopt;
    auto machine = _MakeMachine(i_id);
    const bool fits = machine && (i_representation == MachineRepresentation::Default ||
                                  i_representation == machine->GetMachineData().representation);
    return fits ? std::move(machine) : std::nullopt;
}

std::vector<Machine> ServiceCatalogBase::GetMachines() const
{
    std::vector<Machine> machines;
    for (const auto& id : GetMachineIds()) {
        // One may go between the two questions.
        if (auto machine = _MakeMachine(id))
            machines.push_back(*machine);
    }
    return machines;
}

} // namespace MachineService
