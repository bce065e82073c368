#include "contract/ServiceCatalogBase.h"

#include "client/interface/CommunicationException.h"
#include "contract/ServiceThread.h"
#include "tavsdk/Mutex.h"

#include <condition_variable>

namespace MachineService {

/// Outlives the catalog where a slot on its thread destroys it; the catalog is not touched any more then.
struct ServiceCatalogBase::Impl
{
    Impl(ServiceCatalogBase& io_owner, ServiceId i_service, std::string i_name)
        : owner(io_owner)
        , service(i_service)
        , thread(std::move(i_name), {io_owner._machineAdded, io_owner._machineRemoved, io_owner._machineUpdated,
                                     io_owner._serviceStatusUpdated})
    {}

    void Run();

    ServiceCatalogBase& owner;
    const ServiceId service;
    ServiceThread thread;
    TavSDK::Mutex mutex; ///< guards isWoken
    bool isWoken TAVSDK_GUARDED_BY(mutex) = false;
    std::condition_variable_any wakeUp;
};

void ServiceCatalogBase::Impl::Run()
{
    thread.TellStatus(service, ServiceStatus::Starting);
    if (!thread.HasLeft())
        thread.TellNews(owner._FindNews());
    if (thread.IsStopped())
        return;
    thread.TellStatus(service, ServiceStatus::Running);
    while (!thread.HasLeft()) {
        owner._Wait();
        if (thread.IsStopped())
            return;
        thread.TellNews(owner._FindNews());
    }
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
    // A slot that is called meanwhile may destroy this.
    const auto impl = _impl;
    impl->thread.Stop([this] { _Wake(); });
}

bool ServiceCatalogBase::Start(ServiceId i_service)
{
    if (i_service != _impl->service)
        return false;
    return _impl->thread.Start([impl = _impl] { impl->Run(); },
                               [impl = _impl] { impl->thread.TellStatus(impl->service, ServiceStatus::Failed); });
}

bool ServiceCatalogBase::Refresh(ServiceId i_service)
{
    if (i_service != _impl->service || !_impl->thread.IsRunning())
        return false;
    _Wake();
    return true;
}

void ServiceCatalogBase::_Wait()
{
    TavSDK::MutexLock lock(_impl->mutex);
    // Stop wakes as well, and what it said before is there for good.
    while (!_impl->isWoken)
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
