#pragma once

#include "machinelayer/MachineRecords.h"
#include "machinelayer/RecordArchive.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

// The fields of every record, as names of attributes and elements; docs/pldf-format.md lists them.

namespace MachineLayer {

inline constexpr Range Coordinate = {-1e6, 1e6};
inline constexpr Range Length = {0, 1e6, false};
inline constexpr Range Distance = {0, 1e6};
inline constexpr Range Offset = {-1000, 1000};
inline constexpr Range Angle = {0, 360};

template <>
struct Choices<Data::BaseplateShape>
{
    static constexpr std::array names = {"rectangle", "circle"};
};
template <>
struct Choices<Data::SupportType>
{
    static constexpr std::array names = {"point", "line", "block", "contour", "gusset", "tree"};
};
template <>
struct Choices<Data::PerforationShape>
{
    static constexpr std::array names = {"diamond", "rectangle", "circle"};
};
template <>
struct Choices<Data::RotationFreedom>
{
    static constexpr std::array names = {"none", "aroundZ", "any"};
};
template <>
struct Choices<Data::ZCompensationKey>
{
    static constexpr std::array names = {"angle", "depth"};
};
template <>
struct Choices<Data::LengthUnit>
{
    static constexpr std::array names = {"millimetre", "centimetre", "metre", "inch"};
};

enum class ShapeKind
{
    Box,
    Cylinder,
};
template <>
struct Choices<ShapeKind>
{
    static constexpr std::array names = {"box", "cylinder"};
};

// Parts of the format that the records keep in another form.

struct PlatformElement
{
    std::optional<ShapeKind> shape;
    std::optional<double> width;
    std::optional<double> depth;
    std::optional<double> diameter;
    std::optional<double> height;
    std::optional<double> minX;
    std::optional<double> minY;
    std::optional<double> minZ;
};

struct NamedProfile
{
    std::wstring name;
    Data::SupportProfile profile;
};

struct ProfileUse
{
    Data::SupportType type = Data::SupportType::Point;
    std::wstring profile;
};

struct NamedText
{
    std::wstring name;
    std::wstring value;
};

struct Format
{
    std::wstring name;
};

template <class A>
void Describe(A& io_archive, Data::MachineProperties& io_record)
{
    io_archive.Text("name", io_record.name);
    io_archive.Text("material", io_record.material);
    io_archive.Text("comment", io_record.comment);
    io_archive.Text("manufacturer", io_record.manufacturer);
    io_archive.Text("modelId", io_record.modelId);
    io_archive.Text("technology", io_record.technology);
    io_archive.Number("layerHeight", io_record.layerHeight, Length);
    io_archive.Number("nozzleDiameter", io_record.nozzleDiameter, Length);
}

template <class A>
void Describe(A& io_archive, PlatformElement& io_record)
{
    io_archive.Choice("shape", io_record.shape);
    io_archive.Number("width", io_record.width, Length);
    io_archive.Number("depth", io_record.depth, Length);
    io_archive.Number("diameter", io_record.diameter, Length);
    io_archive.Number("height", io_record.height, Length);
    io_archive.Number("minX", io_record.minX, Coordinate);
    io_archive.Number("minY", io_record.minY, Coordinate);
    io_archive.Number("minZ", io_record.minZ, Coordinate);
}

template <class A>
void Describe(A& io_archive, Data::ScanField& io_record)
{
    io_archive.Text("name", io_record.name);
    io_archive.Number("minX", io_record.minX, Coordinate);
    io_archive.Number("minY", io_record.minY, Coordinate);
    io_archive.Number("maxX", io_record.maxX, Coordinate);
    io_archive.Number("maxY", io_record.maxY, Coordinate);
}

template <class A>
void Describe(A& io_archive, Data::Baseplate& io_record)
{
    io_archive.Choice("shape", io_record.shape);
    io_archive.Number("width", io_record.width, Length);
    io_archive.Number("depth", io_record.depth, Length);
    io_archive.Number("thickness", io_record.thickness, Length);
    io_archive.Number("marginLeft", io_record.marginLeft, Distance);
    io_archive.Number("marginRight", io_record.marginRight, Distance);
    io_archive.Number("marginFront", io_record.marginFront, Distance);
    io_archive.Number("marginBack", io_record.marginBack, Distance);
    io_archive.Text("material", io_record.material);
}

template <class A>
void Describe(A& io_archive, Data::SupportTeeth& io_record)
{
    io_archive.Number("height", io_record.height, Length);
    io_archive.Number("topWidth", io_record.topWidth, Length);
    io_archive.Number("baseWidth", io_record.baseWidth, Length);
    io_archive.Number("spacing", io_record.spacing, Distance);
}

template <class A>
void Describe(A& io_archive, Data::SupportPerforation& io_record)
{
    io_archive.Choice("shape", io_record.shape);
    io_archive.Number("width", io_record.width, Length);
    io_archive.Number("height", io_record.height, Length);
    io_archive.Number("beam", io_record.beam, Length);
}

template <class A>
void Describe(A& io_archive, Data::SupportContact& io_record)
{
    io_archive.Number("width", io_record.width, Length);
    io_archive.Number("penetration", io_record.penetration, Distance);
    io_archive.Number("gap", io_record.gap, Distance);
}

template <class A>
void Describe(A& io_archive, NamedProfile& io_record)
{
    io_archive.Name("name", io_record.name);
    io_archive.Choice("type", io_record.profile.type);
    io_archive.Number("spacing", io_record.profile.spacing, Length);
    io_archive.Number("criticalAngle", io_record.profile.criticalAngle, Angle);
    io_archive.Child("Teeth", io_record.profile.teeth);
    io_archive.Child("Perforation", io_record.profile.perforation);
    io_archive.Child("Contact", io_record.profile.contact);
}

template <class A>
void Describe(A& io_archive, ProfileUse& io_record)
{
    io_archive.Choice("type", io_record.type);
    io_archive.Name("profile", io_record.profile);
}

struct ProfileSetElement
{
    std::wstring name;
    std::vector<ProfileUse> uses;
};

template <class A>
void Describe(A& io_archive, ProfileSetElement& io_record)
{
    io_archive.Text("name", io_record.name);
    io_archive.Children("Use", io_record.uses);
}

template <class A>
void Describe(A& io_archive, Data::NoBuildZone& io_record)
{
    io_archive.Text("name", io_record.name);
    io_archive.Number("minX", io_record.minX, Coordinate);
    io_archive.Number("minY", io_record.minY, Coordinate);
    io_archive.Number("minZ", io_record.minZ, Coordinate);
    io_archive.Number("maxX", io_record.maxX, Coordinate);
    io_archive.Number("maxY", io_record.maxY, Coordinate);
    io_archive.Number("maxZ", io_record.maxZ, Coordinate);
}

template <class A>
void Describe(A& io_archive, Data::Nesting& io_record)
{
    io_archive.Number("partToPart", io_record.partToPart, Distance);
    io_archive.Number("partToWall", io_record.partToWall, Distance);
    io_archive.Choice("rotation", io_record.rotation);
    io_archive.Number("rotationStep", io_record.rotationStep, Angle);
    io_archive.Children("NoBuildZone", io_record.noBuildZones);
}

template <class A>
void Describe(A& io_archive, Data::ZBrace& io_record)
{
    io_archive.Number("beamWidth", io_record.beamWidth, Length);
    io_archive.Number("beamThickness", io_record.beamThickness, Length);
    io_archive.Number("angle", io_record.angle, Angle);
    io_archive.Number("spacing", io_record.spacing, Length);
}

template <class A>
void Describe(A& io_archive, Data::DownFacingOffset& io_record)
{
    io_archive.Number("layerThickness", io_record.layerThickness, Length);
    io_archive.Number("offset", io_record.offset, Offset);
}

template <class A>
void Describe(A& io_archive, Data::ZCompensationEntry& io_record)
{
    io_archive.Number("key", io_record.key, Distance);
    io_archive.Number("offset", io_record.offset, Offset);
}

template <class A>
void Describe(A& io_archive, Data::ZCompensation& io_record)
{
    io_archive.Choice("tableKey", io_record.tableKey);
    io_archive.Children("DownFacing", io_record.downFacing);
    io_archive.Children("Entry", io_record.table);
}

template <class A>
void Describe(A& io_archive, Format& io_record)
{
    io_archive.Name("name", io_record.name);
}

struct PartExportElement
{
    Data::PartExport record;
    std::vector<Format> formats;
};

template <class A>
void Describe(A& io_archive, PartExportElement& io_record)
{
    io_archive.Choice("unit", io_record.record.unit);
    io_archive.Number("tolerance", io_record.record.tolerance, Length);
    io_archive.Text("naming", io_record.record.naming);
    io_archive.Children("Format", io_record.formats);
}

template <class A>
void Describe(A& io_archive, NamedText& io_record)
{
    io_archive.Text("name", io_record.name);
    io_archive.Text("value", io_record.value);
}

/// The elements below the root.
struct MachineElements
{
    std::optional<Data::MachineProperties> machine;
    std::optional<PlatformElement> platform;
    std::vector<Data::ScanField> scanFields;
    std::optional<Data::Baseplate> baseplate;
    std::vector<NamedProfile> profiles;
    std::optional<ProfileSetElement> profileSet;
    std::optional<Data::Nesting> nesting;
    std::optional<Data::ZBrace> zBrace;
    std::optional<Data::ZCompensation> zCompensation;
    std::optional<PartExportElement> partExport;
    std::vector<NamedText> settings;
};

template <class A>
void Describe(A& io_archive, MachineElements& io_record)
{
    io_archive.Child("Machine", io_record.machine);
    io_archive.Child("Platform", io_record.platform);
    io_archive.Children("ScanField", io_record.scanFields);
    io_archive.Child("Baseplate", io_record.baseplate);
    io_archive.Children("SupportProfile", io_record.profiles);
    io_archive.Child("SupportProfileSet", io_record.profileSet);
    io_archive.Child("Nesting", io_record.nesting);
    io_archive.Child("ZBrace", io_record.zBrace);
    io_archive.Child("ZCompensation", io_record.zCompensation);
    io_archive.Child("PartExport", io_record.partExport);
    io_archive.Children("Setting", io_record.settings);
}

} // namespace MachineLayer
