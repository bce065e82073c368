#pragma once

#include <cstdint>
#include <vector>

namespace MachineService::BuildProcessor {

// PNG of 32 x 32 pixels; made by icons/make-icons.
std::vector<std::uint8_t> GetReportIcon();
std::vector<std::uint8_t> GetCheckIcon();

} // namespace MachineService::BuildProcessor
