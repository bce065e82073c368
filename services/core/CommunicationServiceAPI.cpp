#include "client/interface/ICommunicationServiceAPI.h"

#include "buildprocessor/BuildProcessorCatalog.h"
#include "core/Endpoints.h"
#include "core/OwnManagerCatalog.h"
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
        auto catalog = CreateServicesCatalog(i_plugin_utility_factory);
        catalog->AddService(ServiceId::MachineManager, MakeOwnManagerCatalog([i_plugin_utility_factory] {
                                return i_plugin_utility_factory ? i_plugin_utility_factory(ServiceId::MachineManager)
                                                                : nullptr;
                            }));
        return catalog;
    }
};

} // namespace

std::unique_ptr<ServicesCatalog>
CreateServicesCatalog(const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory)
{
    auto catalog = std::make_unique<ServicesCatalog>();
    // A further service is a catalog of its own, added here.
    catalog->AddService(ServiceId::BuildProcessors,
                        std::make_unique<BuildProcessor::BuildProcessorCatalog>(
                            i_plugin_utility_factory ? i_plugin_utility_factory(ServiceId::BuildProcessors) : nullptr));
    AddEndpoints(*catalog, i_plugin_utility_factory);
    return catalog;
}

std::unique_ptr<ICommunicationServiceAPI> CreateCommunicationService()
{
    return std::make_unique<CommunicationServiceAPI>();
}

} // namespace MachineService
