#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "client/interface/CommunicationException.h"
#include "contract/AbstractServiceCatalog.h"

#include <memory>

namespace MachineService {

/// The catalog of a service in another process or on another host. What that takes is loaded with the first one, and
/// stays in the process.
///
/// Never fails: where the module is missing, or the address is none, Start of the catalog says so.
std::unique_ptr<AbstractServiceCatalog> MakeRemoteCatalog(ServiceId i_service, const ServiceEndpoint& i_endpoint,
                                                          std::unique_ptr<AbstractPluginUtility> ip_utility);

/// Stands for a service that cannot be had: Start throws why.
std::unique_ptr<AbstractServiceCatalog> MakeMissingCatalog(ServiceId i_service,
                                                           const CommunicationException& i_failure);

} // namespace MachineService
