#pragma once

#include "buildprocessor/base/ContentCache.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "client/interface/AbstractPluginUtility.h"
#include "contract/JobScheduler.h"
#include "contract/MachineRegistry.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace MachineService::BuildProcessor {

/// What the catalog and the machines that it handed out share. Machines outlive the catalog: they then find it closed.
///
/// Thread: any. The paths and the engine's path do not change.
struct ServiceContext
{
    std::filesystem::path profilesDir;
    std::filesystem::path jobsDir;
    std::filesystem::path settingsDir;     ///< of the machines' own settings
    std::optional<std::string> enginePath; ///< the setting; empty: the engine of the search path
    ContentCache cache;                    ///< of what the engine made and said
    MachineRegistry<DatedProfile> registry;
    JobScheduler jobs;
    JobScheduler queries{2}; ///< short questions and commands do not wait behind builds

    /// \param ip_utility may be null.
    explicit ServiceContext(const AbstractPluginUtility* ip_utility);
    /// Stops all work and refuses what comes; called by the catalog, so that no thread outlives it.
    void Close();
};

} // namespace MachineService::BuildProcessor
