#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/Clearances.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "tavam/Platform.h"

#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What one platform is arranged and supported with: value by value that of the configuration that it carries, else
/// that of the machine's settings or profile.
struct PlatformRules
{
    Clearances clearances;
    RotationFreedom turns = RotationFreedom::AroundZ;
    double turnStep = 0;            ///< degrees; 0: any
    std::vector<NoBuildZone> zones; ///< with the margins of the bed; each has a volume
    EngineSettings engineSettings;
    std::vector<std::string> notes; ///< what was asked for and is not done, a sentence each
};

/// \param i_clearances of the machine's settings.
/// \throws CommunicationException FileError for a configuration that cannot be read.
PlatformRules GetPlatformRules(const TavAM::Platform& i_platform, const MachineProfile& i_profile,
                               const Clearances& i_clearances);

/// Meshes against zones, to 0.01 mm; a part may stand under one or touch it.
/// \throws CommunicationException FileError that names the zones and the parts that enter them; ProcessingAborted when
///         the token asked.
void CheckNoBuildZones(const std::vector<PartGeometry>& i_parts, const std::vector<NoBuildZone>& i_zones,
                       const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
