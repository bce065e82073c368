#pragma once

#include "buildprocessor/machines/Clearances.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "tavam/Platform.h"

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

struct PlacementOptions
{
    Clearances clearances;                            ///< of footprints; less than 0.1 between two counts as 0.1
    RotationFreedom turns = RotationFreedom::AroundZ; ///< Any counts as AroundZ
    double turnStep = 0;                              ///< degrees, parts are turned by multiples of it; 0: any
    std::vector<NoBuildZone> zones;                   ///< each with a volume
    std::stop_token stop;
    std::function<void(int i_percent)> onProgress; ///< may be empty; rises from 0 to 100
};

/// Names are UTF-8, in the order of the parts.
struct PlacementResult
{
    std::vector<std::string>
        unplaced; ///< too large for the machine, or left over; when there are any, nothing was moved
    std::vector<std::string> withoutMesh; ///< they have no footprint and stay where they are
};

/// Places all parts with a mesh on the bed: they stand on it, apart from one another and from its edge by the
/// clearances (to 0.005 mm), outside the zones, around its centre where there is room.
///
/// A part is moved, dropped to the bed, and turned around the vertical, as far as it may be, only where it does not fit
/// as it stands; other parts of its placement stay. It keeps out of a zone with its whole footprint, unless the zone
/// begins above it. The places are searched among the convex hulls of the footprints: no part is put into the hollow of
/// another. The same input gives the same result, and the result is checked with FindPlacementFaults before it counts.
///
/// \throws CommunicationException ProcessingAborted when the token asks; InternalError for more than 500 parts and when
///         the check objects. The platform is then as it was.
PlacementResult PlaceParts(TavAM::Platform& io_platform, const Bed& i_bed, double i_height,
                           const PlacementOptions& i_options);

} // namespace MachineService::BuildProcessor
