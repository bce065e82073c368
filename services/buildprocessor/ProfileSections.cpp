#include "buildprocessor/ProfileSections.h"

#include <algorithm>
#include <iterator>

namespace MachineService::BuildProcessor {

namespace {

constexpr Range Clearance{0, 100};       // mm
constexpr Range Coordinate{-2000, 2000}; // mm

std::optional<double> ReadOptional(JsonFields& io_fields, const char* ip_name, Range i_range)
{
    return io_fields.Has(ip_name) ? std::optional(io_fields.Number(ip_name, i_range)) : std::nullopt;
}

NoBuildZone ReadZone(JsonFields& io_fields)
{
    NoBuildZone zone;
    zone.name = io_fields.Text("name", 100);
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

void ReadNesting(JsonFields io_fields, PreparationRules& o_rules)
{
    o_rules.partToPart = ReadOptional(io_fields, "partToPart", {0.1, Clearance.max});
    o_rules.partToWall = ReadOptional(io_fields, "partToWall", Clearance);
    o_rules.turns = static_cast<Turns>(
        io_fields.Choice("rotation", {"none", "aroundZ", "any"}, static_cast<std::size_t>(Turns::AroundZ)));
    o_rules.turnStep = ReadOptional(io_fields, "rotationStep", {1, 360});
    if (io_fields.Has("noBuildZones"))
        io_fields.Array("noBuildZones", {1, 100}, [&](const QJsonValue& i_value, const std::string& i_path) {
            JsonFields zone = io_fields.ItemObject(i_value, i_path);
            o_rules.zones.push_back(ReadZone(zone));
        });
    io_fields.Finish();
}

void ReadBaseplate(JsonFields io_fields, MachineProfile& o_profile)
{
    o_profile.plateThickness = ReadOptional(io_fields, "thickness", {0.01, 1000});
    PreparationRules& rules = o_profile.rules;
    rules.marginLeft = ReadOptional(io_fields, "marginLeft", Clearance);
    rules.marginRight = ReadOptional(io_fields, "marginRight", Clearance);
    rules.marginFront = ReadOptional(io_fields, "marginFront", Clearance);
    rules.marginBack = ReadOptional(io_fields, "marginBack", Clearance);
    io_fields.Finish();
}

void ReadSupports(JsonFields& io_fields, PreparationRules& o_rules)
{
    io_fields.Array("supports", {1, 100}, [&](const QJsonValue& i_value, const std::string& i_path) {
        JsonFields fields = io_fields.ItemObject(i_value, i_path);
        SupportProfile support;
        support.surfaceType = fields.Text("surfaceType", 100);
        support.kind =
            static_cast<SupportKind>(fields.Choice("type", {"point", "line", "block", "contour", "gusset", "tree"}));
        support.spacing = ReadOptional(fields, "spacing", {0.01, 100});
        support.criticalAngle = ReadOptional(fields, "criticalAngle", {1, 90});
        support.contactWidth = ReadOptional(fields, "contactWidth", {0.01, 100});
        support.contactPenetration = ReadOptional(fields, "contactPenetration", {0, 100});
        support.contactGap = ReadOptional(fields, "contactGap", {0, 100});
        fields.Finish();
        for (const SupportProfile& other : o_rules.supports) {
            if (other.surfaceType == support.surfaceType)
                fields.Refuse("surfaceType", "must differ from those of the other supports");
        }
        o_rules.supportsInUse.emplace(support.kind, support.surfaceType);
        o_rules.supports.push_back(std::move(support));
    });
}

void ReadPartExport(JsonFields io_fields, PartExport& o_export)
{
    static const char* const known[] = {"3MF", "STL", "OBJ", "PLY"};
    io_fields.Array("formats", {1, std::size(known)}, [&](const QJsonValue& i_value, const std::string&) {
        const std::string format = i_value.toString().toStdString();
        if (std::find(std::begin(known), std::end(known), format) == std::end(known))
            io_fields.Refuse("formats", "must hold some of \"3MF\", \"STL\", \"OBJ\", \"PLY\"");
        o_export.formats.push_back(format);
    });
    o_export.tolerance = ReadOptional(io_fields, "tolerance", {0.0001, 10});
    io_fields.Finish();
}

} // namespace

void ReadSections(JsonFields& io_fields, MachineProfile& o_profile)
{
    if (io_fields.Has("nesting"))
        ReadNesting(io_fields.Object("nesting"), o_profile.rules);
    if (io_fields.Has("baseplate"))
        ReadBaseplate(io_fields.Object("baseplate"), o_profile);
    if (io_fields.Has("supports"))
        ReadSupports(io_fields, o_profile.rules);
    if (io_fields.Has("partExport"))
        ReadPartExport(io_fields.Object("partExport"), o_profile.partExport);
}

} // namespace MachineService::BuildProcessor
