#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "contract/AbstractServiceCatalog.h"

/// The door of the module: all that services/core knows of it, by name.
///
/// Ownership: the utility, which may be null, goes to the catalog, and that to the caller, both also when it throws.
/// \throws CommunicationException for an address that is none.
extern "C" MachineService::AbstractServiceCatalog*
machineservice_remote_make_catalog(MachineService::ServiceId i_service,
                                   const MachineService::ServiceEndpoint* ip_endpoint,
                                   MachineService::AbstractPluginUtility* ip_utility);
