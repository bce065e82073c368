#pragma once

namespace MachineService::BuildProcessor {

/// What arranged parts keep free around them.
/// Units: mm.
struct Clearances
{
    double partToPart = 3; ///< between two parts
    double partToWall = 3; ///< to the edge of the bed
    bool operator==(const Clearances&) const = default;
};

} // namespace MachineService::BuildProcessor
