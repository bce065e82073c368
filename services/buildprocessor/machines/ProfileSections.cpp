#include "buildprocessor/machines/ProfileSections.h"

#include "machinelayer/Choices.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <iterator>

namespace MachineService::BuildProcessor {

namespace {

using MachineLayer::Choices;

// Narrower than what a configuration may hold: what the machines of this service can do.
constexpr Range Clearance{0, 100};       // mm
constexpr Range Coordinate{-2000, 2000}; // mm

std::optional<double> ReadOptional(JsonFields& io_fields, const char* ip_name, Range i_range)
{
    return io_fields.Has(ip_name) ? std::optional(io_fields.Number(ip_name, i_range)) : std::nullopt;
}

template <class E>
E ReadChoice(JsonFields& io_fields, const char* ip_name, std::optional<std::size_t> i_default = {})
{
    return static_cast<E>(io_fields.Choice(ip_name, Choices<E>::names, i_default));
}

std::wstring ReadName(JsonFields& io_fields, const char* ip_name)
{
    return TavSDK::ToWide(io_fields.Text(ip_name, 100));
}

NoBuildZone ReadZone(JsonFields& io_fields)
{
    NoBuildZone zone;
    zone.name = ReadName(io_fields, "name");
    const auto read = [&](const char* ip_min, const char* ip_max, double& o_min, double& o_max) {
        o_min = io_fields.Number(ip_min, Coordinate);
        o_max = io_fields.Number(ip_max, {o_min, Coordinate.max});
    };
    read("minX", "maxX", zone.minX, zone.maxX);
    read("minY", "maxY", zone.minY, zone.maxY);
    read("minZ", "maxZ", zone.minZ, zone.maxZ);
    io_fields.Finish();
    return zone;
}

Data::Nesting ReadNesting(JsonFields io_fields)
{
    Data::Nesting nesting;
    nesting.partToPart = ReadOptional(io_fields, "partToPart", {0.1, Clearance.max});
    nesting.partToWall = ReadOptional(io_fields, "partToWall", Clearance);
    nesting.rotation = ReadChoice<RotationFreedom>(io_fields, "rotation", static_cast<std::size_t>(nesting.rotation));
    nesting.rotationStep = ReadOptional(io_fields, "rotationStep", {1, 360});
    if (io_fields.Has("noBuildZones"))
        io_fields.Array("noBuildZones", {1, 100}, [&](const QJsonValue& i_value, const std::string& i_path) {
            JsonFields zone = io_fields.ItemObject(i_value, i_path);
            nesting.noBuildZones.push_back(ReadZone(zone));
        });
    io_fields.Finish();
    return nesting;
}

Data::Baseplate ReadBaseplate(JsonFields io_fields)
{
    Data::Baseplate plate;
    plate.thickness = ReadOptional(io_fields, "thickness", {0.01, 1000});
    plate.marginLeft = ReadOptional(io_fields, "marginLeft", Clearance);
    plate.marginRight = ReadOptional(io_fields, "marginRight", Clearance);
    plate.marginFront = ReadOptional(io_fields, "marginFront", Clearance);
    plate.marginBack = ReadOptional(io_fields, "marginBack", Clearance);
    io_fields.Finish();
    return plate;
}

Data::Supports ReadSupports(JsonFields& io_fields)
{
    Data::Supports supports;
    supports.inUse.emplace();
    io_fields.Array("supports", {1, 100}, [&](const QJsonValue& i_value, const std::string& i_path) {
        JsonFields fields = io_fields.ItemObject(i_value, i_path);
        const std::wstring surfaceType = ReadName(fields, "surfaceType");
        Data::SupportProfile support;
        support.type = ReadChoice<Data::SupportType>(fields, "type");
        support.spacing = ReadOptional(fields, "spacing", {0.01, 100});
        support.criticalAngle = ReadOptional(fields, "criticalAngle", {1, 90});
        Data::SupportContact contact;
        contact.width = ReadOptional(fields, "contactWidth", {0.01, 100});
        contact.penetration = ReadOptional(fields, "contactPenetration", {0, 100});
        contact.gap = ReadOptional(fields, "contactGap", {0, 100});
        if (contact != Data::SupportContact())
            support.contact = contact;
        fields.Finish();
        if (!supports.surfaceTypes.emplace(surfaceType, support).second)
            fields.Refuse("surfaceType", "must differ from those of the other supports");
        // The first of each type.
        supports.inUse->profiles.emplace(support.type, surfaceType);
    });
    return supports;
}

Data::PartExport ReadPartExport(JsonFields io_fields)
{
    static const char* const known[] = {"3MF", "STL", "OBJ", "PLY"};
    Data::PartExport partExport;
    io_fields.Array("formats", {1, std::size(known)}, [&](const QJsonValue& i_value, const std::string&) {
        const QString format = i_value.toString();
        if (std::find(std::begin(known), std::end(known), format.toStdString()) == std::end(known))
            io_fields.Refuse("formats", "must hold some of \"3MF\", \"STL\", \"OBJ\", \"PLY\"");
        partExport.formats.push_back(format.toStdWString());
    });
    partExport.tolerance = ReadOptional(io_fields, "tolerance", {0.0001, 10});
    io_fields.Finish();
    return partExport;
}

} // namespace

Data::MachineConfiguration ReadSections(JsonFields& io_fields)
{
    Data::MachineConfiguration configuration;
    if (io_fields.Has("nesting"))
        configuration.nesting = ReadNesting(io_fields.Object("nesting"));
    if (io_fields.Has("baseplate"))
        configuration.baseplate = ReadBaseplate(io_fields.Object("baseplate"));
    if (io_fields.Has("supports"))
        configuration.supportProfiles = ReadSupports(io_fields);
    if (io_fields.Has("partExport"))
        configuration.partExport = ReadPartExport(io_fields.Object("partExport"));
    return configuration;
}

} // namespace MachineService::BuildProcessor
