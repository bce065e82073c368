#include "remote/Module.h"

#include "remote/RemoteCatalog.h"

extern "C" __attribute__((visibility("default"))) MachineService::AbstractServiceCatalog*
machineservice_remote_make_catalog(MachineService::ServiceId i_service,
                                   const MachineService::ServiceEndpoint* ip_endpoint,
                                   MachineService::AbstractPluginUtility* ip_utility)
{
    // Whatever comes of it, the utility has an owner.
    std::unique_ptr<MachineService::AbstractPluginUtility> utility(ip_utility);
    return std::make_unique<MachineService::Remote::RemoteCatalog>(i_service, *ip_endpoint, std::move(utility))
        .release();
}
