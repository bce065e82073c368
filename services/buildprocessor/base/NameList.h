#pragma once

#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// "'a', 'b' and 3 more"; names are cut to a length that a message box can show.
std::string JoinNames(const std::vector<std::string>& i_names);

} // namespace MachineService::BuildProcessor
