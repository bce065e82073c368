#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// What the host knows of a machine, as plain records. Lengths in mm, angles in degrees. What a machine does not have
/// is left out: an absent value never means zero.
namespace MachineLayer::Data {

/// What the machine is.
struct MachineProperties
{
    std::wstring name;
    std::wstring material;
    std::wstring comment;
    std::wstring manufacturer;
    std::wstring modelId;
    std::wstring technology;              ///< for example "fused filament" or "resin"
    std::optional<double> layerHeight;    ///< mm, as chosen for the platform
    std::optional<double> nozzleDiameter; ///< mm
    bool operator==(const MachineProperties&) const = default;
};

struct BoxShape
{
    double width = 0;  ///< mm, along x
    double depth = 0;  ///< mm, along y
    double height = 0; ///< mm, along z
    bool operator==(const BoxShape&) const = default;
};

struct CylinderShape
{
    double diameter = 0; ///< mm
    double height = 0;   ///< mm, along z
    bool operator==(const CylinderShape&) const = default;
};

/// The room that parts can be built in.
using PlatformShape = std::variant<BoxShape, CylinderShape>;

/// Where the shape's bounding box begins in the coordinates of the platform. Units: mm.
struct PlatformGeometry
{
    double minX = 0;
    double minY = 0;
    double minZ = 0;
    bool operator==(const PlatformGeometry&) const = default;
};

/// Area that one laser or projector reaches. Units: mm.
struct ScanField
{
    std::wstring name;
    double minX = 0;
    double minY = 0;
    double maxX = 0;
    double maxY = 0;
    bool operator==(const ScanField&) const = default;
};

enum class BaseplateShape
{
    Rectangle,
    Circle,
};

/// The plate that parts are built on and removed with.
struct Baseplate
{
    BaseplateShape shape = BaseplateShape::Rectangle;
    std::optional<double> width;     ///< mm; of a circle the diameter
    std::optional<double> depth;     ///< mm; of a rectangle
    std::optional<double> thickness; ///< mm
    /// Strips along the edges that carry no part. Units: mm.
    std::optional<double> marginLeft;
    std::optional<double> marginRight;
    std::optional<double> marginFront;
    std::optional<double> marginBack;
    std::wstring material;
    bool operator==(const Baseplate&) const = default;
};

enum class SupportType
{
    Point,
    Line,
    Block,
    Contour,
    Gusset,
    Tree,
};

/// Teeth between a support's wall and the part. Units: mm.
struct SupportTeeth
{
    std::optional<double> height;
    std::optional<double> topWidth;
    std::optional<double> baseWidth;
    std::optional<double> spacing;
    bool operator==(const SupportTeeth&) const = default;
};

enum class PerforationShape
{
    Diamond,
    Rectangle,
    Circle,
};

/// Openings in a support's wall that save material and let powder out. Units: mm.
struct SupportPerforation
{
    PerforationShape shape = PerforationShape::Diamond;
    std::optional<double> width;
    std::optional<double> height;
    std::optional<double> beam; ///< material left between two openings
    bool operator==(const SupportPerforation&) const = default;
};

/// How a support meets the part. Units: mm.
struct SupportContact
{
    std::optional<double> width;
    std::optional<double> penetration; ///< depth to which it enters the part
    std::optional<double> gap;         ///< distance that it keeps instead
    bool operator==(const SupportContact&) const = default;
};

/// How surfaces of one kind are supported.
struct SupportProfile
{
    SupportType type = SupportType::Block;
    std::optional<double> spacing;       ///< mm, between two walls, lines, points or trunks
    std::optional<double> criticalAngle; ///< degrees from the horizontal, below which a surface is supported
    std::optional<SupportTeeth> teeth;
    std::optional<SupportPerforation> perforation;
    std::optional<SupportContact> contact;
    bool operator==(const SupportProfile&) const = default;
};

/// Profiles by the name of the surface type that they are for.
using SupportProfiles = std::map<std::wstring, SupportProfile>;

/// The profiles that are in use: at most one per type of support.
struct SupportProfileSet
{
    std::wstring name;
    std::map<SupportType, std::wstring> profiles; ///< names of profiles
    bool operator==(const SupportProfileSet&) const = default;
};

enum class RotationFreedom
{
    None,
    AroundZ,
    Any,
};

/// Box that no part may enter. Units: mm.
struct NoBuildZone
{
    std::wstring name;
    double minX = 0;
    double minY = 0;
    double minZ = 0;
    double maxX = 0;
    double maxY = 0;
    double maxZ = 0;
    bool operator==(const NoBuildZone&) const = default;
};

/// What automatic placement keeps to.
struct Nesting
{
    std::optional<double> partToPart; ///< clearance, mm
    std::optional<double> partToWall; ///< clearance, mm
    RotationFreedom rotation = RotationFreedom::AroundZ;
    std::optional<double> rotationStep; ///< degrees
    std::vector<NoBuildZone> noBuildZones;
    bool operator==(const Nesting&) const = default;
};

/// Beams that hold slender parts upright.
struct ZBrace
{
    std::optional<double> beamWidth;     ///< mm
    std::optional<double> beamThickness; ///< mm
    std::optional<double> angle;         ///< degrees from the horizontal
    std::optional<double> spacing;       ///< mm along z
    bool operator==(const ZBrace&) const = default;
};

enum class ZCompensationKey
{
    Angle, ///< of the surface, degrees from the horizontal
    Depth, ///< below the surface, mm
};

/// Offset of down-facing surfaces at one layer thickness. Units: mm.
struct DownFacingOffset
{
    double layerThickness = 0;
    double offset = 0;
    bool operator==(const DownFacingOffset&) const = default;
};

struct ZCompensationEntry
{
    double key = 0;    ///< degrees or mm, as the table's key says
    double offset = 0; ///< mm
    bool operator==(const ZCompensationEntry&) const = default;
};

/// How much overcuring or sagging is taken away from down-facing surfaces.
struct ZCompensation
{
    ZCompensationKey tableKey = ZCompensationKey::Angle;
    std::vector<DownFacingOffset> downFacing;
    std::vector<ZCompensationEntry> table;
    bool operator==(const ZCompensation&) const = default;
};

enum class LengthUnit
{
    Millimetre,
    Centimetre,
    Metre,
    Inch,
};

/// How parts leave the host for this machine.
struct PartExport
{
    std::vector<std::wstring> formats; ///< in order of preference, for example "3MF"
    LengthUnit unit = LengthUnit::Millimetre;
    std::optional<double> tolerance; ///< mm, between a surface and its triangles
    std::wstring naming;             ///< pattern of file names, the host's
    bool operator==(const PartExport&) const = default;
};

/// How surfaces are supported.
struct Supports
{
    SupportProfiles surfaceTypes; ///< by name of the surface type, which is not empty
    std::optional<SupportProfileSet> inUse;
    bool operator==(const Supports&) const = default;
};

/// What platforms for one machine are prepared with: the part of its data that leaves the host with a platform.
///
/// Each optional member is a section of a document; docs/machine-configuration.md describes them.
struct MachineConfiguration
{
    std::wstring machineName;
    std::wstring manufacturer;
    std::wstring modelId;
    std::optional<Supports> supportProfiles;
    std::optional<Nesting> nesting;
    std::optional<Baseplate> baseplate;
    std::optional<ZBrace> zBrace;
    std::optional<ZCompensation> zCompensation;
    std::optional<PartExport> partExport;
    bool operator==(const MachineConfiguration&) const = default;
};

/// Everything that is known of one machine.
struct Machine
{
    MachineProperties properties;
    std::optional<PlatformShape> platformShape;
    std::optional<PlatformGeometry> platformGeometry;
    std::vector<ScanField> scanFields;
    std::optional<Baseplate> baseplate;
    SupportProfiles surfaceTypeProfiles;
    std::optional<SupportProfileSet> supportProfileSet;
    std::optional<Nesting> nesting;
    std::optional<ZBrace> zBrace;
    std::optional<ZCompensation> zCompensation;
    std::optional<PartExport> partExport;
    std::map<std::wstring, std::wstring> settings; ///< whatever else the machine has, by name
    bool operator==(const Machine&) const = default;
};

} // namespace MachineLayer::Data
