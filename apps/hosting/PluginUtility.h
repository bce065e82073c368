#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "client/interface/ServiceTypes.h"

#include <memory>

namespace Hosting {

/// Folders and settings of the services in this host.
///
/// Configuration lies below the user's configuration folder ("machineservice/build-processors"), so that a printer
/// profile put there appears in every run. What services make goes to i_data_dir. Every setting can be given as an
/// environment variable: "engine.path" is MACHINESERVICE_ENGINE_PATH.
std::unique_ptr<MachineService::AbstractPluginUtility> MakePluginUtility(MachineService::ServiceId i_service,
                                                                         const std::filesystem::path& i_data_dir);

/// Where the Build Processors keep the results of the slicing engine, see docs/embed.md.
std::filesystem::path GetKeptResultsDir(const std::filesystem::path& i_data_dir);

} // namespace Hosting
