#pragma once

#include "catalog/ProxyMachinesCatalog.h"
#include "client/CommunicationClient.h"
#include "client/events/LifetimeGate.h"
#include "client/interface/ICommunicationServiceAPI.h"

#include "tavsdk/Mutex.h"

#include <QLoggingCategory>

#include <memory>
#include <set>

namespace MachineService {

Q_DECLARE_LOGGING_CATEGORY(ClientLog)

class CommunicationClient::Impl final : public QObject
{
public:
    Impl(VexlorCore::ApiProviderGetter i_api_provider,
         const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory,
         const std::function<bool(const MachineData&)>& i_filtering_rule, CommunicationClient* ip_client);
    ~Impl() override;

    /// \throws CommunicationException MachineNotFound.
    Machine CreateCachedMachine(const boost::uuids::uuid& i_machine_id) const;
    static Machine CreateCachedMachine(const Machine& i_machine, std::function<void()> i_on_changed);
    /// Tells the host that answers changed, as long as the client lives.
    std::function<void()> MakeUpdateCommands() const;

    const VexlorCore::ApiProviderGetter apiProvider;
    const std::shared_ptr<int> token = std::make_shared<int>(0);
    // Every way from a foreign thread into the client passes it: news of services, and caches of machines that outlive
    // the client, so that what they captured is touched only while it is whole.
    LifetimeGate gate;
    TavSDK::Mutex mutex; // guards machinesInModification; never held while calling out
    std::set<boost::uuids::uuid> machinesInModification TAVSDK_GUARDED_BY(mutex);
    // The catalog goes before the proxy: it ends the threads that raise news while the proxy can still take them.
    std::unique_ptr<ProxyMachinesCatalog> proxyCatalog;
    std::unique_ptr<AbstractMachinesCatalog> machinesCatalog;
};

} // namespace MachineService
