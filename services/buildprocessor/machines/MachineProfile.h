#pragma once

#include "client/interface/ErrorCode.h"
#include "client/interface/MachineData.h"
#include "machinelayer/MachineRecords.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineService::BuildProcessor {

namespace Data = MachineLayer::Data;
using Data::NoBuildZone;
using Data::RotationFreedom;

enum class Technology
{
    Fff, ///< fused filament
    Sla, ///< resin, exposed through a mask
};

enum class BedShape
{
    Rectangle,
    Circle,
    Polygon,
};

enum class QueueState
{
    Running,
    Paused,
    Error,
    Offline,
};

struct BedPoint
{
    double x = 0;
    double y = 0;
    bool operator==(const BedPoint&) const = default;
};

/// Where a machine builds.
/// Units: mm.
struct Bed
{
    BedShape shape = BedShape::Rectangle;
    BedPoint centre;               ///< of a circle
    double diameter = 0;           ///< of a circle
    std::vector<BedPoint> outline; ///< convex, counter-clockwise; of a circle, the polygon that the engine is told
    bool operator==(const Bed&) const = default;
};

inline constexpr double MaxBedTemperature = 200;    ///< °C
inline constexpr double MaxFirstExposureTime = 300; ///< s

struct Material
{
    std::string name;
    double density = 0;           ///< g/cm³
    double filamentDiameter = 0;  ///< mm; fused filament only
    double nozzleTemperature = 0; ///< °C; fused filament only
    double bedTemperature = 0;    ///< °C; fused filament only
    double exposureTime = 0;      ///< s; resin only
    double firstExposureTime = 0; ///< s; resin only
    bool operator==(const Material&) const = default;
};

/// What the parts stand on, and what it changes for the material next to it.
struct Plate
{
    std::string name;
    double bedTemperatureOffset = 0; ///< °C; fused filament only
    double firstExposureFactor = 1;  ///< of the first layers; resin only
    bool operator==(const Plate&) const = default;
};

/// The slicing engine's own keys and values.
using EngineSettings = std::vector<std::pair<std::string, std::string>>;

/// A print strategy that parts can be given; see ProfileAssignment.
struct PrintStrategy
{
    std::string id;
    std::string name;
    std::string role;
    EngineSettings engineSettings; ///< what it stands for, on the parts that have it
    bool operator==(const PrintStrategy&) const = default;
};

/// One printer as its profile file describes it. A value, checked when it was read. Texts are UTF-8.
struct MachineProfile
{
    boost::uuids::uuid id = {};
    std::string name;
    std::string manufacturer;
    std::string modelId;
    std::string driverId;
    std::string comment;
    Technology technology = Technology::Fff;
    Bed bed;
    double height = 0;                ///< mm
    double nozzleDiameter = 0;        ///< mm; fused filament only; the default
    std::vector<double> nozzles;      ///< mm; what there is to choose, the default among it; fused filament only
    std::vector<double> layerHeights; ///< mm; the first is the default
    double displayWidth = 0;          ///< pixels; resin only
    double displayHeight = 0;         ///< pixels; resin only
    std::vector<Material> materials;
    std::size_t defaultMaterial = 0;
    std::vector<Plate> plates; ///< may be empty: there is but one, which changes nothing
    std::size_t defaultPlate = 0;
    std::vector<PrintStrategy> strategies;
    EngineSettings engineSettings; ///< from an allowed list
    /// What its platforms are prepared with unless they say otherwise: nesting, baseplate without what the bed and the
    /// plates say already, supports, part export.
    Data::MachineConfiguration configuration;
    bool configuresConnection = false;
    bool acceptsImplicitData = false;
    bool acceptsComposedParts = true;
    QueueState queueState = QueueState::Running;
    std::chrono::seconds engineDeadline{0};

    bool operator==(const MachineProfile&) const = default;

    const Material& GetDefaultMaterial() const { return materials[defaultMaterial]; }
    // Index of what the machine offers; empty when it does not.
    std::optional<std::size_t> FindLayerHeight(double i_height) const;
    std::optional<std::size_t> FindMaterial(std::string_view i_name) const;
    std::optional<std::size_t> FindNozzle(double i_diameter) const;
    std::optional<std::size_t> FindPlate(std::string_view i_name) const;
    /// Of the default plate.
    /// Units: °C.
    double GetBedTemperature() const;
    /// Of the default plate.
    /// Units: s.
    double GetFirstExposureTime() const;
    /// True when the engine is told to make supports, so that a part may float above the bed.
    bool MakesSupports() const;
};

/// A profile and when its file was last written.
struct DatedProfile
{
    MachineProfile profile;
    std::optional<ConfigurationTime> time;
};

MachineData ToMachineData(const DatedProfile& i_profile);
inline const boost::uuids::uuid& GetId(const DatedProfile& i_profile)
{
    return i_profile.profile.id;
}
/// What differs, as news of the machine; None when nothing but the time does.
MachineChanges FindChanges(const DatedProfile& i_old, const DatedProfile& i_new);
/// The code that the queue refuses commands with; None when it runs.
ErrorCode GetRefusal(QueueState i_state);
/// "running", "paused", "error", "offline".
const char* GetStateName(QueueState i_state);
/// What the user reads of a queue that takes no jobs; empty for one that runs.
std::string GetStateSentence(QueueState i_state);

} // namespace MachineService::BuildProcessor
