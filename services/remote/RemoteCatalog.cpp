#include "remote/RemoteCatalog.h"

#include "client/interface/CommunicationException.h"
#include "contract/ReadyFuture.h"
#include "contract/ServiceThread.h"
#include "remote/CatalogReader.h"
#include "remote/RemoteService.h"
#include "remote/RemoteStrategy.h"
#include "tavsdk/Path.h"

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
        : id(i_id)
        , utility(std::move(ip_utility))
        , service(std::make_shared<RemoteService>(i_endpoint, GetJobsDir(utility.get()),
                                                  utility ? utility->GetPinFile() : std::filesystem::path()))
        , reader(service, *this, SnapshotFile(GetCacheDir(utility.get()), i_endpoint.address))
        , thread(service->address.text, {io_owner._machineAdded, io_owner._machineRemoved, io_owner._machineUpdated,
                                         io_owner._serviceStatusUpdated})
    {}

    void TellNews(const MachineNews& i_news) override { thread.TellNews(i_news); }
    void TellStatus(ServiceStatus i_status, const std::string& i_reason) override;
    void ConfirmCertificate(const ServiceCertificate& i_certificate, std::function<void(bool)> i_answer) override;
    std::optional<Machine> MakeMachine(const boost::uuids::uuid& i_id) const;

    const ServiceId id;
    const std::unique_ptr<AbstractPluginUtility> utility;
    const std::shared_ptr<RemoteService> service; ///< shared with the machines that were handed out
    CatalogReader reader;
    ServiceThread thread;
};

void RemoteCatalog::Impl::TellStatus(ServiceStatus i_status, const std::string& i_reason)
{
    if (utility)
        thread.Tell([&] { utility->HandleStatus(i_status, i_reason); });
    thread.TellStatus(id, i_status);
}

void RemoteCatalog::Impl::ConfirmCertificate(const ServiceCertificate& i_certificate,
                                             std::function<void(bool)> i_answer)
{
    if (utility)
        thread.Tell([&] { utility->ConfirmCertificate(i_certificate, std::move(i_answer)); });
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
    impl->thread.Stop([&impl] { impl->service->stop.request_stop(); });
    impl->service->Close();
}

bool RemoteCatalog::Start(ServiceId i_service)
{
    if (i_service != _impl->id)
        return false;
    return _impl->thread.Start([impl = _impl] { impl->reader.Run(); },
                               [impl = _impl] { impl->TellStatus(ServiceStatus::Failed, {}); });
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
    if (i_service != _impl->id || !_impl->thread.IsRunning())
        return false;
    const auto connection = _impl->service->link.Get();
    if (!connection) {
        _impl->service->retry.Wake();
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
