#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "tavam/Platform.h"

#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// Role of the strategies that are for supports: only parts with supports have one.
inline constexpr char SupportRole[] = "support";

/// What became of the strategies of a platform's parts. Sentences are UTF-8 and name the part.
struct StrategyReport
{
    std::size_t kept = 0;              ///< assignments that the machine knows
    std::size_t assigned = 0;          ///< assignments that were missing
    std::vector<std::string> replaced; ///< a sentence for each assignment that the machine does not know
    std::string message;               ///< all of it, for the user
};

/// Gives every part a strategy for each role of the machine's list: the part's own when the list has it under that
/// role, else the first of the role. Roles that the machine does not have, and the support role of a part without
/// supports, go. A machine without strategies leaves the parts as they are.
StrategyReport AssignStrategies(TavAM::Platform& io_platform, const std::vector<PrintStrategy>& i_known);

/// What the part's strategies tell the engine: the later role by name wins. Unknown ones tell nothing.
EngineSettings GetEngineSettings(const TavAM::Part& i_part, const std::vector<PrintStrategy>& i_known);

} // namespace MachineService::BuildProcessor
