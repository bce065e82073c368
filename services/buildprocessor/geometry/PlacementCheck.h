#pragma once

#include "buildprocessor/machines/Clearances.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "tavam/Platform.h"

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// Units: mm.
struct PlacementRules
{
    std::optional<Clearances> clearances; ///< of footprints; empty: pairs are not checked, parts may reach the edge
    std::vector<NoBuildZone> zones;       ///< footprints keep out of those that lie between a part's bottom and top
    bool onBed = true;                    ///< every part stands on the bed, it neither floats nor dips into it
    double tolerance = 0.005;             ///< what rounding may take from a clearance, or add to a size
};

/// One part, or two, that break a rule.
struct PlacementFault
{
    enum class Kind
    {
        OutsideBed, ///< or less than the clearance away from its edge
        TooHigh,
        BelowBed,
        AboveBed,
        InZone,
        TooClose, ///< part and other overlap or are less than the clearance apart, seen from above
        WithoutMesh,
    };
    Kind kind;
    std::size_t part = 0;  ///< index
    std::size_t other = 0; ///< index, of TooClose only
    std::string message;   ///< UTF-8, one sentence that names the parts
};

/// Checks the parts of a platform against a bed, polygon by polygon: convex hulls of the footprints where they are far
/// enough apart already, else the real footprints with their holes.
/// It shares nothing with the search of places but the making of footprints, so that it can be trusted with its result.
/// \throws CommunicationException ProcessingAborted when the token asks.
std::vector<PlacementFault> FindPlacementFaults(const TavAM::Platform& i_platform, const Bed& i_bed, double i_height,
                                                const PlacementRules& i_rules, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
