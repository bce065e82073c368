#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "client/interface/CommandTypes.h"
#include "client/interface/PlatformTypes.h"

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <utility>

namespace MachineService::BuildProcessor {

/// What telling of a machine's platforms, or making one, needs.
struct PlatformRequest
{
    const MachineProfile& profile;
    const std::filesystem::path& settingsDir; ///< of the machines' own settings
    std::stop_token stop;
    std::function<void(int i_percent)> onProgress; ///< may be empty
};

/// Name, comment, materials and choices of the machine as platform information; its platform as a .TavAMX file with
/// the machine's parameters; its configuration as PLDF in Base64. The defaults are what Build takes for a platform that
/// says nothing. The message tells what of the machine's own settings counts no more.
///
/// Thread: any, blocking.
/// \throws CommunicationException FileError for damaged settings of the machine, ProcessingAborted.
PlatformInfo MakePlatformInformation(const PlatformRequest& i_request);

/// A platform without parts, with the machine's parameters, as a .TavAMX file. What was chosen stands in its AMX
/// properties under the ids of the choices; what was left to the machine stands there with its default.
///
/// \param i_parameters platform creation parameters, see ReadChosenValues.
/// Thread: any, blocking.
/// \throws CommunicationException as MakePlatformInformation and ReadChosenValues.
std::pair<CommandResult, Platform> MakeEmptyPlatform(const PlatformRequest& i_request, const std::string& i_parameters);

} // namespace MachineService::BuildProcessor
