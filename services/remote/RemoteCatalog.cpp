#include "remote/RemoteCatalog.h"

#include "client/interface/CommunicationException.h"
#include "contract/ReadyFuture.h"
#include "remote/CatalogReader.h"
#include "remote/Log.h"
#include "remote/RemoteService.h"
#include "remote/RemoteStrategy.h"
#include "tavsdk/Path.h"
#include "tavsdk/StopExceptions.h"
#include "tavsdk/ThreadCollector.h"

#include <atomic>
#include <thread>

namespace MachineService::Remote {

namespace {

std::filesystem::path GetCacheDir(const AbstractPluginUtility* ip_utility)
{
    return ip_utility ? ip_utility->GetCacheDir() : std::filesystem::path();
}

std::filesystem::path GetJobsDir(const AbstractPluginUtility* ip_utility)
{
    const auto dir = ip_utility ? ip_utility->GetDataDir()
                                : TavSDK::GetUserFolder(TavSDK::UserFolder::Data) / "machineservice" / "services";
    return dir / "jobs";
}

} // namespace

/// Outlives the catalog where a slot on its thread destroys it; the catalog is not touched any more then.
struct RemoteCatalog::Impl final : ICatalogListener
{
    Impl(RemoteCatalog& io_owner, ServiceId i_id, const ServiceEndpoint& i_endpoint,
         std::unique_ptr<AbstractPluginUtility> ip_utility)
        : added(io_owner._machineAdded)
        , removed(io_owner._machineRemoved)
        , updated(io_owner._machineUpdated)
        , statusUpdated(io_owner._serviceStatusUpdated)
        , id(i_id)
        , utility(std::move(ip_utility))
        , service(std::make_shared<RemoteService>(i_endpoint, GetJobsDir(utility.get())))
        , reader(service, *this, SnapshotFile(GetCacheDir(utility.get()), i_endpoint.address))
    {}

    void TellNews(const MachineNews& i_news) override;
    void TellStatus(ServiceStatus i_status, const std::string& i_reason) override;
    void RunThread();
    std::optional<Machine> MakeMachine(const boost::uuids::uuid& i_id) const;
    /// What a listener throws is its own fault: the service goes on with the rest of the news.
    template <class Signal>
    void Tell(const Signal& i_signal) const
    {
        if (isLeft)
            return;
        TavSDK::StopExceptions(i_signal, [this](const char* ip_why) {
            qCWarning(RemoteLog, "A listener of %s failed: %s", service->address.text.c_str(), ip_why);
        });
    }

    // The signals as slots, which live until a call is over.
    const MachineSignal::slot_type added;
    const MachineSignal::slot_type removed;
    const MachineUpdatedSignal::slot_type updated;
    const ServiceStatusSignal::slot_type statusUpdated;
    const ServiceId id;
    const std::unique_ptr<AbstractPluginUtility> utility;
    const std::shared_ptr<RemoteService> service; ///< shared with the machines that were handed out
    CatalogReader reader;
    bool isLeft = false; ///< used by the service's thread only: a slot on it stopped the service
    const std::shared_ptr<std::atomic<bool>> hasEnded = std::make_shared<std::atomic<bool>>(false);
    TavSDK::Mutex mutex; ///< guards everything below
    bool isStopped TAVSDK_GUARDED_BY(mutex) = false;
    std::thread thread TAVSDK_GUARDED_BY(mutex);
};

void RemoteCatalog::Impl::TellNews(const MachineNews& i_news)
{
    for (const auto& machine : i_news.removed)
        Tell([&] { removed(machine); });
    for (const auto& update : i_news.updated)
        Tell([&] { updated(update.first, update.second); });
    for (const auto& machine : i_news.added)
        Tell([&] { added(machine); });
}

void RemoteCatalog::Impl::TellStatus(ServiceStatus i_status, const std::string& i_reason)
{
    Tell([&] {
        if (utility)
            utility->HandleStatus(i_status, i_reason);
        statusUpdated(id, i_status);
    });
}

void RemoteCatalog::Impl::RunThread()
{
    const auto tell = [this](const char* ip_why) {
        qCCritical(RemoteLog, "The service of %s ended: %s", service->address.text.c_str(), ip_why);
    };
    if (!TavSDK::StopExceptions([this] { reader.Run(); }, tell))
        TellStatus(ServiceStatus::Failed, {});
}

std::optional<Machine> RemoteCatalog::Impl::MakeMachine(const boost::uuids::uuid& i_id) const
{
    const auto machine = service->machines.Find(i_id);
    if (!machine)
        return std::nullopt;
    return Machine(std::make_unique<RemoteStrategy>(machine->data, service));
}

RemoteCatalog::RemoteCatalog(ServiceId i_service, const ServiceEndpoint& i_endpoint,
                             std::unique_ptr<AbstractPluginUtility> ip_utility)
    : _impl(std::make_shared<Impl>(*this, i_service, i_endpoint, std::move(ip_utility)))
{}

RemoteCatalog::~RemoteCatalog()
{
    RemoteCatalog::Stop();
}

void RemoteCatalog::Stop()
{
    // A slot that is called meanwhile may destroy this.
    const auto impl = _impl;
    std::thread thread;
    {
        const TavSDK::MutexLock lock(impl->mutex);
        impl->isStopped = true;
        thread.swap(impl->thread);
    }
    impl->service->stop.request_stop();
    if (thread.joinable() && thread.get_id() == std::this_thread::get_id()) {
        impl->isLeft = true;
        TavSDK::CollectThread(std::move(thread), impl->hasEnded);
    } else if (thread.joinable()) {
        // Not under the lock: a slot on that thread may ask for a refresh.
        thread.join();
    }
    impl->service->Close();
}

bool RemoteCatalog::Start(ServiceId i_service)
{
    if (i_service != _impl->id)
        return false;
    const TavSDK::MutexLock lock(_impl->mutex);
    if (_impl->isStopped)
        return false;
    if (_impl->thread.joinable())
        return true;
    try {
        _impl->thread = std::thread([impl = _impl]() mutable {
            impl->RunThread();
            const auto hasEnded = impl->hasEnded;
            impl.reset();
            *hasEnded = true;
        });
        return true;
    } catch (const std::system_error& failure) {
        qCCritical(RemoteLog, "The service of %s cannot start: %s", _impl->service->address.text.c_str(),
                   failure.what());
        return false;
    }
}

AuthenticationResult RemoteCatalog::SetAuthentication(ServiceId i_service,
                                                      const std::optional<AuthenticationData>& i_data)
{
    if (i_service != _impl->id || _impl->service->IsClosed())
        return AuthenticationResult::Unavailable;
    _impl->reader.SetCredentials(i_data);
    return AuthenticationResult::Accepted;
}

bool RemoteCatalog::Refresh(ServiceId i_service)
{
    if (i_service != _impl->id)
        return false;
    {
        const TavSDK::MutexLock lock(_impl->mutex);
        if (_impl->isStopped || !_impl->thread.joinable())
            return false;
    }
    const auto connection = _impl->service->link.Get();
    if (!connection) {
        _impl->reader.Wake();
        return true;
    }
    return _impl->service->workers.Post([service = _impl->service, connection] {
        Call call(*connection, QuestionDeadline, {service->stop.get_token()});
        pb::RefreshReply reply;
        // A service that knows no such call always knows its machines; of a broken connection the thread tells.
        connection->GetStub().Refresh(&call.GetContext(), {}, &reply);
    });
}

bool RemoteCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    return _impl->service->machines.Find(i_id) != nullptr;
}

Machine RemoteCatalog::GetMachine(const boost::uuids::uuid& i_id) const
{
    if (auto machine = _impl->MakeMachine(i_id))
        return *machine;
    throw CommunicationException(ErrorCode::MachineNotFound);
}

std::optional<Machine> RemoteCatalog::TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                                    MachineRepresentation i_representation) const
{
    const auto machine = i_service == _impl->id ? _impl->service->machines.Find(i_id) : nullptr;
    if (!machine)
        return std::nullopt;
    if (i_representation == MachineRepresentation::Default || i_representation == machine->data.representation)
        return Machine(std::make_unique<RemoteStrategy>(machine->data, _impl->service));
    for (const StoredMachine& other : machine->others) {
        if (other.data.representation == i_representation)
            return Machine(std::make_unique<RemoteStrategy>(other.data, _impl->service));
    }
    return std::nullopt;
}

std::vector<Machine> RemoteCatalog::GetMachines() const
{
    std::vector<Machine> machines;
    for (const auto& machine : _impl->service->machines.GetAll())
        machines.emplace_back(std::make_unique<RemoteStrategy>(machine->data, _impl->service));
    return machines;
}

std::vector<boost::uuids::uuid> RemoteCatalog::GetMachineIds() const
{
    return _impl->service->machines.GetIds();
}

std::future<std::vector<std::pair<std::string, std::string>>> RemoteCatalog::GetVersionInformation() const
{
    return Ready([this] { return _impl->service->GetConnection()->told.components; });
}

} // namespace MachineService::Remote
