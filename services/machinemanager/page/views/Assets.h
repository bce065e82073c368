#pragma once

#include <string_view>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

/// All files of the folder assets: name and content.
const std::vector<std::pair<std::string_view, std::string_view>>& GetAssets();

/// \throws std::logic_error when there is none.
std::string_view GetAsset(std::string_view i_name);

} // namespace MachineService::MachineManager
