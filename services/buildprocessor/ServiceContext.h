#pragma once

#include "buildprocessor/JobScheduler.h"
#include "buildprocessor/MachineRegistry.h"
#include "client/interface/AbstractPluginUtility.h"

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
    MachineRegistry registry;
    JobScheduler jobs;
    JobScheduler queries{2}; ///< short questions and commands do not wait behind builds

    /// \param ip_utility may be null.
    explicit ServiceContext(const AbstractPluginUtility* ip_utility);
    /// Stops all work and refuses what comes; called by the catalog, so that no thread outlives it.
    void Close();
};

} // namespace MachineService::BuildProcessor
