#pragma once

#include "machinelayer/Choices.h"
#include "machinelayer/DescriptionBuilder.h"
#include "machinelayer/MachineRecords.h"
#include "machinelayer/NodeReader.h"
#include "machinelayer/NodeWriter.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <optional>
#include <type_traits>

// The fields of every record in both formats, with what they measure and may be; docs/pldf-format.md lists the first
// names and docs/machine-configuration.md the second. The schemas say the same; a test compares them.
//
// Every record is described once, by a function Describe(fields, record) that names its fields in the order of the
// formats. DescriptionBuilder makes the description from it, NodeWriter writes records as nodes, and NodeReader reads
// them. A field has the first name in PLDF; in sections the second, or the first with a capital letter. Those that
// write and read know each field by its number among the calls, so that Describe() must make the same calls each time.

namespace MachineLayer {

template <class Record, class T>
concept Is = std::same_as<std::remove_const_t<Record>, T>;

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

/// Shape and place of a platform in one element.
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

/// The elements of PLDF below the root.
struct MachineElements
{
    std::optional<Data::MachineProperties> properties;
    std::optional<PlatformElement> platform;
    Data::Machine rest;
};

template <class F, Is<Data::MachineProperties> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Text("name", io_record.name);
    io_fields.Text("material", io_record.material);
    io_fields.Text("comment", io_record.comment);
    io_fields.Text("manufacturer", io_record.manufacturer);
    io_fields.Text("modelId", io_record.modelId);
    io_fields.Text("technology", io_record.technology);
    io_fields.Number("layerHeight", io_record.layerHeight, Length);
    io_fields.Number("nozzleDiameter", io_record.nozzleDiameter, Length);
}

template <class F, Is<PlatformElement> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Choice("shape", io_record.shape);
    io_fields.Number("width", io_record.width, Length);
    io_fields.Number("depth", io_record.depth, Length);
    io_fields.Number("diameter", io_record.diameter, Length);
    io_fields.Number("height", io_record.height, Length);
    io_fields.Number("minX", io_record.minX, Coordinate);
    io_fields.Number("minY", io_record.minY, Coordinate);
    io_fields.Number("minZ", io_record.minZ, Coordinate);
    const auto need = [&](const std::optional<ShapeKind>& i_shape, const std::optional<double>& i_size,
                          const char* ip_sentence) {
        io_fields.Rule([&] { return !io_record.shape || (i_shape && io_record.shape != i_shape) || i_size; },
                       ip_sentence);
    };
    need(ShapeKind::Box, io_record.width, "lacks width");
    need(ShapeKind::Box, io_record.depth, "lacks depth");
    need(ShapeKind::Cylinder, io_record.diameter, "lacks diameter");
    need({}, io_record.height, "lacks height");
    io_fields.Rule(
        [&io_record] {
            return io_record.minX.has_value() == io_record.minY.has_value() &&
                   io_record.minX.has_value() == io_record.minZ.has_value();
        },
        "has some of minX, minY and minZ only");
}

template <class F, Is<Data::ScanField> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Text("name", io_record.name);
    io_fields.Number("minX", io_record.minX, Coordinate);
    io_fields.Number("minY", io_record.minY, Coordinate);
    io_fields.Number("maxX", io_record.maxX, Coordinate);
    io_fields.Number("maxY", io_record.maxY, Coordinate);
    io_fields.Rule([&io_record] { return io_record.minX < io_record.maxX && io_record.minY < io_record.maxY; },
                   "is empty");
}

template <class F, Is<Data::Baseplate> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Choice("shape", io_record.shape);
    io_fields.Number("width", io_record.width, Length);
    io_fields.Number("depth", io_record.depth, Length);
    io_fields.Number("thickness", io_record.thickness, Length);
    io_fields.Number("marginLeft", io_record.marginLeft, Distance);
    io_fields.Number("marginRight", io_record.marginRight, Distance);
    io_fields.Number("marginFront", io_record.marginFront, Distance);
    io_fields.Number("marginBack", io_record.marginBack, Distance);
    io_fields.Text("material", io_record.material);
}

template <class F, Is<Data::SupportTeeth> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Number("height", io_record.height, Length);
    io_fields.Number("topWidth", io_record.topWidth, Length);
    io_fields.Number("baseWidth", io_record.baseWidth, Length);
    io_fields.Number("spacing", io_record.spacing, Distance);
}

template <class F, Is<Data::SupportPerforation> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Choice("shape", io_record.shape);
    io_fields.Number("width", io_record.width, Length);
    io_fields.Number("height", io_record.height, Length);
    io_fields.Number("beam", io_record.beam, Length);
}

template <class F, Is<Data::SupportContact> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Number("width", io_record.width, Length);
    io_fields.Number("penetration", io_record.penetration, Distance);
    io_fields.Number("gap", io_record.gap, Distance);
}

template <class F, Is<std::wstring> Name, Is<Data::SupportProfile> Record>
void Describe(F& io_fields, Name& io_surface_type, Record& io_record)
{
    io_fields.Name("name", io_surface_type, "SurfaceType");
    io_fields.Choice("type", io_record.type, "SupportType");
    io_fields.Number("spacing", io_record.spacing, Length);
    io_fields.Number("criticalAngle", io_record.criticalAngle, Angle);
    io_fields.Child("Teeth", io_record.teeth);
    io_fields.Child("Perforation", io_record.perforation);
    io_fields.Child("Contact", io_record.contact);
}

template <class F, Is<Data::SupportType> Type, Is<std::wstring> Name>
void Describe(F& io_fields, Type& io_type, Name& io_profile)
{
    io_fields.Choice("type", io_type, "SupportType");
    io_fields.Name("profile", io_profile);
}

template <class F, Is<Data::SupportProfileSet> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Text("name", io_record.name);
    io_fields.Children("Use", io_record.profiles);
}

template <class F, Is<Data::Supports> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Children("SupportProfile", io_record.surfaceTypes);
    io_fields.Child("ProfilesInUse", io_record.inUse);
}

template <class F, Is<Data::NoBuildZone> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Text("name", io_record.name);
    io_fields.Number("minX", io_record.minX, Coordinate);
    io_fields.Number("minY", io_record.minY, Coordinate);
    io_fields.Number("minZ", io_record.minZ, Coordinate);
    io_fields.Number("maxX", io_record.maxX, Coordinate);
    io_fields.Number("maxY", io_record.maxY, Coordinate);
    io_fields.Number("maxZ", io_record.maxZ, Coordinate);
    io_fields.Rule(
        [&io_record] {
            return io_record.minX <= io_record.maxX && io_record.minY <= io_record.maxY &&
                   io_record.minZ <= io_record.maxZ;
        },
        "ends before it begins");
}

template <class F, Is<Data::Nesting> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Number("partToPart", io_record.partToPart, Distance, "PartToPartClearance");
    io_fields.Number("partToWall", io_record.partToWall, Distance, "PartToWallClearance");
    io_fields.Choice("rotation", io_record.rotation, "RotationFreedom");
    io_fields.Number("rotationStep", io_record.rotationStep, Angle);
    io_fields.Children("NoBuildZone", io_record.noBuildZones);
}

template <class F, Is<Data::ZBrace> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Number("beamWidth", io_record.beamWidth, Length);
    io_fields.Number("beamThickness", io_record.beamThickness, Length);
    io_fields.Number("angle", io_record.angle, Angle);
    io_fields.Number("spacing", io_record.spacing, Length);
}

template <class F, Is<Data::DownFacingOffset> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Number("layerThickness", io_record.layerThickness, Length);
    io_fields.Number("offset", io_record.offset, Offset);
}

/// A table whose element says what its keys are, so that each key can have its unit.
template <class F, Is<Data::ZCompensation> Record>
void DescribeTable(F& io_fields, Record& io_record, Data::ZCompensationKey i_key, const char* ip_table,
                   const char* ip_key, const Quantity& i_quantity)
{
    // A table of angles that is empty says no more than none.
    const bool isPresent =
        io_record.tableKey == i_key && (!io_record.table.empty() || i_key != Data::ZCompensationKey::Angle);
    io_fields.Alternative(ip_table, isPresent, [&](auto& io_table) {
        if constexpr (F::IsReader)
            io_record.tableKey = i_key;
        io_table.ChildrenBy("Entry", io_record.table, [&](auto& io_entry_fields, auto& io_entry) {
            io_entry_fields.Number(ip_key, io_entry.key, i_quantity);
            io_entry_fields.Number("offset", io_entry.offset, Offset);
        });
    });
}

template <class F, Is<Data::ZCompensation> Record>
void Describe(F& io_fields, Record& io_record)
{
    if (io_fields.GetFormat() == Format::Sections) {
        io_fields.Children("DownFacing", io_record.downFacing);
        DescribeTable(io_fields, io_record, Data::ZCompensationKey::Angle, "AngleTable", "angle", Angle);
        DescribeTable(io_fields, io_record, Data::ZCompensationKey::Depth, "DepthTable", "depth", Distance);
        return;
    }
    io_fields.Choice("tableKey", io_record.tableKey);
    io_fields.Children("DownFacing", io_record.downFacing);
    io_fields.Children("Entry", io_record.table);
    io_fields.Rule(
        [&io_record] {
            return io_record.tableKey != Data::ZCompensationKey::Angle ||
                   std::all_of(io_record.table.begin(), io_record.table.end(),
                               [](const auto& i_entry) { return i_entry.key <= Angle.max; });
        },
        "has an angle above 360 deg");
}

template <class F, Is<Data::ZCompensationEntry> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Number("key", io_record.key, Distance);
    io_fields.Number("offset", io_record.offset, Offset);
}

template <class F, Is<Data::PartExport> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Names("Format", io_record.formats);
    io_fields.Choice("unit", io_record.unit, "LengthUnit");
    io_fields.Number("tolerance", io_record.tolerance, Length);
    io_fields.Text("naming", io_record.naming);
}

/// A setting.
template <class F, Is<std::wstring> Name, Is<std::wstring> Value>
void Describe(F& io_fields, Name& io_name, Value& io_value)
{
    io_fields.Text("name", io_name);
    io_fields.Text("value", io_value);
}

template <class F, Is<MachineElements> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Child("Machine", io_record.properties);
    io_fields.Child("Platform", io_record.platform);
    io_fields.Children("ScanField", io_record.rest.scanFields);
    io_fields.Child("Baseplate", io_record.rest.baseplate);
    io_fields.Children("SupportProfile", io_record.rest.surfaceTypeProfiles);
    io_fields.Child("SupportProfileSet", io_record.rest.supportProfileSet);
    io_fields.Child("Nesting", io_record.rest.nesting);
    io_fields.Child("ZBrace", io_record.rest.zBrace);
    io_fields.Child("ZCompensation", io_record.rest.zCompensation);
    io_fields.Child("PartExport", io_record.rest.partExport);
    io_fields.Children("Setting", io_record.rest.settings);
}

template <class F, Is<Data::MachineConfiguration> Record>
void Describe(F& io_fields, Record& io_record)
{
    io_fields.Part("Machine", [&](auto& io_machine_fields) {
        io_machine_fields.Text("name", io_record.machineName);
        io_machine_fields.Text("manufacturer", io_record.manufacturer);
        io_machine_fields.Text("modelId", io_record.modelId);
    });
    io_fields.Section("/AM/MachineData/SupportProfiles/2022/09", io_record.supportProfiles);
    io_fields.Section("/AM/MachineData/Nesting/2023/03", io_record.nesting);
    io_fields.Section("/AM/MachineData/ParametersBaseplate/2023/03", io_record.baseplate);
    io_fields.Section("/AM/MachineData/ZBrace/2023/03", io_record.zBrace);
    io_fields.Section("/AM/MachineData/ParametersZCompensation/2023/03", io_record.zCompensation);
    io_fields.Section("/AM/MachineData/ParametersExportPart/2023/03", io_record.partExport);
}

} // namespace MachineLayer
