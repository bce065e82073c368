#pragma once

#include <string>
#include <utility>
#include <vector>

namespace MachineService::BuildProcessor {

/// File names and texts of the profiles that come with the service, in ascending order of names.
const std::vector<std::pair<std::string, std::string>>& GetShippedProfiles();

} // namespace MachineService::BuildProcessor
