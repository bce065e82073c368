#pragma once

namespace Vexlor::UICommands::LayoutNames {

/// Layout of the ribbon for additive manufacturing.
inline constexpr char AM[] = "AM";

} // namespace Vexlor::UICommands::LayoutNames
