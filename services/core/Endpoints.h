#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "core/ServicesCatalog.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

namespace MachineService {

/// Adds the services in other processes and on other hosts that the host names. Nothing of what they need is loaded for
/// a host that names none. What is wrong with a service, or with the list, is told when it is started.
void AddEndpoints(ServicesCatalog& io_catalog,
                  const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory);

/// The endpoints that a file names; none where there is no such file.
/// \throws CommunicationException FileError that names file and field.
std::vector<ServiceEndpoint> ReadServiceList(const std::filesystem::path& i_file);

} // namespace MachineService
