#include "client/CommunicationClient.h"

#include "catalog/CachedMachineStrategy.h"
#include "catalog/PrinterAttachment.h"
#include "client/CommunicationClient_p.h"
#include "client/UuidConversions.h"
#include "client/events/UIJobEvent.h"

#include "tavsdk/StopExceptions.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <atomic>
#include <stdexcept>

namespace MachineService {

Q_LOGGING_CATEGORY(ClientLog, "machineservice.client")

CommunicationClient::Impl::Impl(
    VexlorCore::ApiProviderGetter i_api_provider,
    const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory,
    const std::function<bool(const MachineData&)>& i_filtering_rule, CommunicationClient* ip_client)
    : QObject(ip_client)
    , apiProvider(std::move(i_api_provider))
{
    const std::unique_ptr<ICommunicationServiceAPI> service = CreateCommunicationService();
    if (!service)
        throw std::runtime_error("communication service is nullptr");
    service->Initialize();
    machinesCatalog = service->CreateMachinesCatalog(i_plugin_utility_factory);
    proxyCatalog = std::make_unique<ProxyMachinesCatalog>(machinesCatalog.get(), i_filtering_rule);
}

CommunicationClient::Impl::~Impl()
{
    // Closed already, unless the client's constructor threw.
    gate.Close();
    // The catalog joins its threads; one of them may wait for news that this thread is in the midst of raising.
    if (proxyCatalog)
        proxyCatalog->EndNews();
}

Machine CommunicationClient::Impl::CreateCachedMachine(const boost::uuids::uuid& i_machine_id) const
{
    // Made first: the service may have the client destroyed.
    auto updateCommands = MakeUpdateCommands();
    return CreateCachedMachine(proxyCatalog->GetMachine(i_machine_id), std::move(updateCommands));
}

Machine CommunicationClient::Impl::CreateCachedMachine(const Machine& i_machine, std::function<void()> i_on_changed)
{
    return Machine(std::make_unique<CachedMachineStrategy>(i_machine, std::move(i_on_changed)));
}

std::function<void()> CommunicationClient::Impl::MakeUpdateCommands() const
{
    return [this, entrance = gate] {
        if (const auto entry = entrance.Enter())
            apiProvider().UpdateCommands();
    };
}

CommunicationClient::CommunicationClient(
    VexlorCore::ApiProviderGetter i_api_provider,
    const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory,
    const std::function<bool(const MachineData&)>& i_filtering_rule, QObject* ip_parent)
    : QObject(ip_parent)
    , _impl(new Impl(std::move(i_api_provider), i_plugin_utility_factory, i_filtering_rule, this))
{
    _RegisterMetatypes();
    connect(this, &CommunicationClient::MachineModified, this, &CommunicationClient::_HandleMachineModified);
    _ForwardNews();
}

CommunicationClient::~CommunicationClient()
{
    // Services still raise news, on their own threads, until the catalog goes; from here on none reaches this object,
    // which stops being a CommunicationClient long before the catalog is destroyed as a grandchild.
    _impl->gate.Close();
}

void CommunicationClient::_RegisterMetatypes()
{
    static std::atomic_flag mgp_was_entered;
    if (mgp_was_entered.test_and_set())
        return;
    qRegisterMetaType<ServiceId>("MachineService::ServiceId");
    qRegisterMetaType<ServiceStatus>("MachineService::ServiceStatus");
    qRegisterMetaType<MachineChanges>("MachineService::MachineChanges");
    // A second name of the same type, as hosts use it.
    qRegisterMetaType<MachineChanges>("MachineService::MachineStatusChange");
}

void CommunicationClient::_ForwardNews()
{
    ProxyMachinesCatalog& proxy = *_impl->proxyCatalog;
    const LifetimeGate gate = _impl->gate;
    proxy.ConnectMachineAdded([this, gate](const boost::uuids::uuid& i_id) {
        if (const auto entry = gate.Enter())
            Q_EMIT MachineAdded(ToQUuid(i_id));
    });
    proxy.ConnectMachineRemoved([this, gate](const boost::uuids::uuid& i_id) {
        if (const auto entry = gate.Enter())
            Q_EMIT MachineRemoved(ToQUuid(i_id));
    });
    proxy.ConnectMachineUpdated([this, gate](const boost::uuids::uuid& i_id, MachineChanges i_changes) {
        if (const auto entry = gate.Enter())
            Q_EMIT MachineModified(ToQUuid(i_id), i_changes);
    });
    proxy.ConnectServiceStatusUpdated([this, gate](ServiceId i_service, ServiceStatus i_status) {
        if (const auto entry = gate.Enter())
            Q_EMIT ServiceStatusChanged(i_service, i_status);
    });
}

bool CommunicationClient::Start(ServiceId i_service)
{
    return _impl->proxyCatalog->Start(i_service);
}

bool CommunicationClient::Refresh(ServiceId i_service)
{
    return _impl->proxyCatalog->Refresh(i_service);
}

AuthenticationResult CommunicationClient::SetAuthentication(ServiceId i_service,
                                                            const std::optional<AuthenticationData>& i_data)
{
    return _impl->proxyCatalog->SetAuthentication(i_service, i_data);
}

std::vector<Machine> CommunicationClient::GetMachines() const
{
    const auto updateCommands = _impl->MakeUpdateCommands();
    std::vector<Machine> machines = _impl->proxyCatalog->GetMachines();
    for (Machine& machine : machines)
        machine = Impl::CreateCachedMachine(machine, updateCommands);
    return machines;
}

std::future<std::vector<std::pair<std::string, std::string>>> CommunicationClient::GetVersionInformation() const
{
    return _impl->proxyCatalog->GetVersionInformation();
}

std::future<std::string> CommunicationClient::InstallMachine(ServiceId i_service, const std::filesystem::path& i_file)
{
    return _impl->proxyCatalog->InstallMachine(i_service, i_file);
}

void CommunicationClient::InvalidateProxyMachineCatalog()
{
    _impl->proxyCatalog->Invalidate();
}

std::optional<Machine> CommunicationClient::TryGetPrinter(VexlorCore::DataSet* ip_data_set) const
{
    return Utilities::TryGetPrinter([this](const QUuid& i_id) { return TryGetPrinterById(i_id); }, ip_data_set);
}

std::optional<Machine> CommunicationClient::TryGetPrinterById(const QUuid& i_machine_id) const
{
    return _TryGetPrinterByBoostId(ToBoostUuid(i_machine_id));
}

std::optional<Machine> CommunicationClient::TryGetPrinterByIdFromService(ServiceId i_service, const QUuid& i_machine_id,
                                                                         MachineRepresentation i_representation) const
{
    return _impl->proxyCatalog->TryGetMachine(i_service, ToBoostUuid(i_machine_id), i_representation);
}

std::optional<Machine> CommunicationClient::_TryGetPrinterByBoostId(const boost::uuids::uuid& i_machine_id) const
{
    try {
        return _impl->CreateCachedMachine(i_machine_id);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void CommunicationClient::customEvent(QEvent* ip_event)
{
    if (ip_event->type() != UIJobEvent::GetEventId()) {
        QObject::customEvent(ip_event);
        return;
    }
    ip_event->accept();
    // Qt's event loop is not made for exceptions; whoever posted the job is not there to catch them. The job may have
    // destroyed this object.
    TavSDK::StopExceptions(
        [ip_event] { static_cast<UIJobEvent*>(ip_event)->DoJob(); },
        [](const char* ip_why) { qCWarning(ClientLog, "A job on the UI thread failed: %s", ip_why); });
}

} // namespace MachineService
