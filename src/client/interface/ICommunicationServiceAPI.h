#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "client/interface/AbstractPluginUtility.h"

#include <functional>
#include <memory>

namespace MachineService {

/// Makes the catalog of all machine services. Released as soon as it has done so; the catalog does not need it.
class ICommunicationServiceAPI
{
public:
    virtual ~ICommunicationServiceAPI() = default;

    virtual void Initialize() = 0;
    /// \param i_plugin_utility_factory asked once per service; may return null, the service then uses its own defaults.
    virtual std::unique_ptr<AbstractMachinesCatalog> CreateMachinesCatalog(
        const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory) = 0;
};

/// Defined by whichever services the library is linked with.
std::unique_ptr<ICommunicationServiceAPI> CreateCommunicationService();

} // namespace MachineService
