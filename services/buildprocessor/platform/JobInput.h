#pragma once

#include "buildprocessor/base/ContentCache.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "client/interface/CommandTypes.h"

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace MachineService::BuildProcessor {

/// What a run of a command needs.
struct JobInput
{
    const MachineProfile& profile;
    const CommandParameters& parameters;
    const std::optional<std::string>& enginePath;
    const std::filesystem::path& jobsDir;
    const std::filesystem::path& settingsDir; ///< of the machines' own settings
    const ContentCache& cache;                ///< of what the engine made and said
    std::stop_token stop;                     ///< of the job; the parameters' own is not asked
};

} // namespace MachineService::BuildProcessor
