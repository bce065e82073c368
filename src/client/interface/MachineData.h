#pragma once

#include "client/interface/MachinePicture.h"
#include "client/interface/ServiceTypes.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <ratio>
#include <string>
#include <vector>

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

/// How a machine makes its parts. A number that is none of these is one that the library does not know yet.
enum class MachineTechnology : std::int32_t
{
    NotTold = 0,
    MaterialExtrusion = 1, ///< filament, paste or pellets through a nozzle
    VatPhotopolymer = 2,   ///< resin, cured by light
    PowderBedFusion = 3,   ///< powder, melted by laser or electron beam
    BinderJetting = 4,     ///< powder, glued
    MaterialJetting = 5,   ///< drops of resin or wax
    DirectedEnergy = 6,    ///< powder or wire, melted where it lands
    SheetLamination = 7,   ///< sheets, bonded and cut
};

/// What a machine is doing, as its service last saw it.
enum class MachineState : std::int32_t
{
    NotTold = 0,
    Ready = 1,
    Busy = 2,    ///< at work; takes further jobs
    Paused = 3,  ///< takes no jobs until somebody lets it go on
    Failed = 4,  ///< takes no jobs until somebody mends it
    Offline = 5, ///< its service does not reach it
};

/// What a machine says of itself. Texts are UTF-8.
///
/// Members are added as docs/write-a-machine-service.md tells: at the end, with a default that says "not told".
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

    // Everything from here on is told by some services only.
    MachineTechnology technology = MachineTechnology::NotTold;
    MachinePicture picture;
    MachineState state = MachineState::NotTold;
    std::vector<std::string> stateReasons; ///< one sentence each, for the user
    /// When the service saw the state last. Later observations of the same state are no news.
    std::optional<std::chrono::system_clock::time_point> stateTime;

    bool operator==(const MachineData&) const = default;
};

} // namespace MachineService
