#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// One run of the slicing engine.
struct EngineRun
{
    const MachineProfile& profile;
    const std::optional<std::string>& enginePath; ///< the setting; empty: the engine of the search path
    std::filesystem::path workDir;                ///< private; settings, the engine's own data and its output go here
    const std::vector<PartGeometry>& parts;       ///< those of the model, for what failures say of them
    std::filesystem::path model;                  ///< 3MF, mm
    std::filesystem::path output;                 ///< in workDir
    std::function<void(int i_percent, const std::string& i_stage)> onProgress; ///< percent rises only
};

/// The engine's program.
/// \throws CommunicationException InternalError with what to install.
std::string FindEngine(const std::optional<std::string>& i_setting);

/// Changes when the engine's program is another, for example after an update: its path, size and time.
/// \param i_engine as FindEngine returns it.
std::string GetEngineStamp(const std::string& i_engine);

/// Slices. Returns only when the engine said that it is done and the output is there.
/// \throws CommunicationException InternalError with the engine's reason; ProcessingAborted when the token asked.
void RunEngine(const EngineRun& i_run, std::stop_token i_stop);

/// For example "2.5.0+UNKNOWN".
/// \throws CommunicationException as RunEngine.
std::string GetEngineVersion(const std::optional<std::string>& i_setting, std::stop_token i_stop);

} // namespace MachineService::BuildProcessor
