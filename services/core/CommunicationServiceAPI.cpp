#include "client/interface/ICommunicationServiceAPI.h"

#include "buildprocessor/BuildProcessorCatalog.h"
#include "core/RemoteModule.h"
#include "core/ServicesCatalog.h"

namespace MachineService {

namespace {

class CommunicationServiceAPI final : public ICommunicationServiceAPI
{
public:
    void Initialize() override {}

    std::unique_ptr<AbstractMachinesCatalog> CreateMachinesCatalog(
        const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory) override
    {
        auto catalog = std::make_unique<ServicesCatalog>();
        // A further service is a catalog of its own, added here.
        catalog->AddService(
            ServiceId::BuildProcessors,
            std::make_unique<BuildProcessor::BuildProcessorCatalog>(
                i_plugin_utility_factory ? i_plugin_utility_factory(ServiceId::BuildProcessors) : nullptr));
        // Nothing of what these need is loaded for a host that has none.
        const auto general = i_plugin_utility_factory ? i_plugin_utility_factory(ServiceId::None) : nullptr;
        auto number = FirstEndpointService;
        for (const auto& endpoint : general ? general->GetServiceEndpoints() : std::vector<ServiceEndpoint>()) {
            const auto service = static_cast<ServiceId>(number++);
            catalog->AddService(service, MakeRemoteCatalog(service, endpoint, i_plugin_utility_factory(service)));
        }
        return catalog;
    }
};

} // namespace

std::unique_ptr<ICommunicationServiceAPI> CreateCommunicationService()
{
    return std::make_unique<CommunicationServiceAPI>();
}

} // namespace MachineService
