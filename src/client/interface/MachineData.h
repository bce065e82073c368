#pragma once

#include "client/interface/ServiceTypes.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <ratio>
#include <string>

namespace MachineService {

/// Time of the system clock in ticks of 100 ns since 1970-01-01 00:00 UTC.
using ConfigurationTime =
    std::chrono::time_point<std::chrono::system_clock, std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>>;

/// A time of this many ticks counts as absent.
inline constexpr std::int64_t AbsentConfigurationTicks = std::numeric_limits<std::int64_t>::min();

/// Where a machine can build, in the coordinates of its platforms.
/// Units: mm.
struct BuildVolume
{
    double minX = 0;
    double minY = 0;
    double maxX = 0;
    double maxY = 0;
    double height = 0;
    bool isCircular = false; ///< the bed is the circle inscribed in the rectangle

    bool operator==(const BuildVolume&) const = default;
};

/// What a machine says of itself. Texts are UTF-8.
struct MachineData
{
    boost::uuids::uuid id = {};        ///< a machine with the nil id counts as no machine
    std::string name;                  ///< display name
    bool configuresConnection = false; ///< its configure command is about the connection, not about the printer
    bool acceptsImplicitData = false;  ///< parts may be, or contain, implicit data
    bool acceptsComposedParts = false; ///< parts may be composed of members
    ServiceId serviceId = ServiceId::BuildProcessors;
    MachineRepresentation representation = MachineRepresentation::Machine;
    std::string modelId;
    std::string manufacturer;
    std::string driverId;
    std::string comment;
    std::optional<BuildVolume> buildVolume; ///< empty when the service does not tell
    /// When the configuration (the PLDF file) was last written; empty when the service does not tell.
    std::optional<ConfigurationTime> configurationTime;

    bool operator==(const MachineData&) const = default;
};

} // namespace MachineService
