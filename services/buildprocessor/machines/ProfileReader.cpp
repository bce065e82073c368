#include "buildprocessor/machines/ProfileReader.h"

#include "buildprocessor/machines/ProfileSections.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonDocument>

#include <boost/uuid/nil_generator.hpp>
#include <boost/uuid/string_generator.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <set>

namespace MachineService::BuildProcessor {

namespace {

// Keys of the engine that a profile may set. What names a program, a file or a network address (post_process,
// print_host ...) is not among them: a profile comes from outside and must not run anything. What the service decides
// itself (bed, heights, temperatures of the material, labels) is not either.
const std::set<std::string>& AllowedEngineSettings(Technology i_technology)
{
    static const std::set<std::string> fff = {"bottom_solid_layers",
                                              "bridge_speed",
                                              "brim_type",
                                              "brim_width",
                                              "cooling",
                                              "default_acceleration",
                                              "disable_fan_first_layers",
                                              "elefant_foot_compensation",
                                              "end_gcode",
                                              "external_perimeter_speed",
                                              "extrusion_width",
                                              "fan_always_on",
                                              "fill_angle",
                                              "fill_density",
                                              "fill_pattern",
                                              "first_layer_height",
                                              "first_layer_speed",
                                              "gap_fill_speed",
                                              "gcode_flavor",
                                              "infill_speed",
                                              "machine_max_acceleration_extruding",
                                              "machine_max_acceleration_x",
                                              "machine_max_acceleration_y",
                                              "machine_max_feedrate_x",
                                              "machine_max_feedrate_y",
                                              "machine_max_feedrate_z",
                                              "max_fan_speed",
                                              "min_fan_speed",
                                              "perimeter_speed",
                                              "perimeters",
                                              "raft_layers",
                                              "retract_length",
                                              "retract_lift",
                                              "retract_speed",
                                              "seam_position",
                                              "skirt_distance",
                                              "skirt_height",
                                              "skirts",
                                              "solid_infill_speed",
                                              "spiral_vase",
                                              "start_gcode",
                                              "support_material",
                                              "support_material_auto",
                                              "support_material_spacing",
                                              "support_material_style",
                                              "support_material_threshold",
                                              "top_solid_infill_speed",
                                              "top_solid_layers",
                                              "travel_speed",
                                              "use_relative_e_distances",
                                              "xy_size_compensation"};
    static const std::set<std::string> sla = {"absolute_correction",
                                              "area_fill",
                                              "elefant_foot_compensation",
                                              "faded_layers",
                                              "fast_tilt_time",
                                              "gamma_correction",
                                              "hollowing_enable",
                                              "hollowing_min_thickness",
                                              "pad_enable",
                                              "pad_wall_height",
                                              "pad_wall_thickness",
                                              "slow_tilt_time",
                                              "support_base_diameter",
                                              "support_head_front_diameter",
                                              "support_object_elevation",
                                              "support_points_density_relative",
                                              "support_points_minimal_distance",
                                              "supports_enable"};
    return i_technology == Technology::Fff ? fff : sla;
}

// What the engine takes for one part apart from the others.
const std::set<std::string>& AllowedPartSettings(Technology i_technology)
{
    static const std::set<std::string> fff = {"bottom_solid_layers",
                                              "brim_type",
                                              "brim_width",
                                              "elefant_foot_compensation",
                                              "external_perimeter_speed",
                                              "fill_angle",
                                              "fill_density",
                                              "fill_pattern",
                                              "gap_fill_speed",
                                              "infill_speed",
                                              "layer_height",
                                              "perimeter_speed",
                                              "perimeters",
                                              "raft_layers",
                                              "seam_position",
                                              "solid_infill_speed",
                                              "support_material",
                                              "support_material_auto",
                                              "support_material_spacing",
                                              "support_material_style",
                                              "support_material_threshold",
                                              "top_solid_infill_speed",
                                              "top_solid_layers",
                                              "xy_size_compensation"};
    static const std::set<std::string> sla = {"faded_layers",
                                              "hollowing_enable",
                                              "hollowing_min_thickness",
                                              "pad_enable",
                                              "pad_wall_height",
                                              "pad_wall_thickness",
                                              "support_base_diameter",
                                              "support_head_front_diameter",
                                              "support_object_elevation",
                                              "support_points_density_relative",
                                              "support_points_minimal_distance",
                                              "supports_enable"};
    return i_technology == Technology::Fff ? fff : sla;
}

EngineSettings ReadEngineSettings(JsonFields& io_fields, const std::set<std::string>& i_allowed)
{
    EngineSettings settings;
    if (!io_fields.Has("engine"))
        return settings;
    JsonFields fields = io_fields.Object("engine");
    fields.Each([&](const std::string& i_name, const std::string& i_value) {
        if (!i_allowed.contains(i_name))
            fields.Refuse(i_name.substr(0, 100), "is not a setting of the engine that a profile may set");
        settings.emplace_back(i_name, i_value);
    });
    return settings;
}

Bed ReadBed(JsonFields& io_fields)
{
    JsonFields fields = io_fields.Object("bed");
    Bed bed;
    bed.shape = static_cast<BedShape>(fields.Choice("shape", {"rectangle", "circle", "polygon"}));
    switch (bed.shape) {
    case BedShape::Rectangle: {
        const double x = fields.Number("originX", {-2000, 2000}, 0);
        const double y = fields.Number("originY", {-2000, 2000}, 0);
        const double width = fields.Number("width", {10, 2000});
        const double depth = fields.Number("depth", {10, 2000});
        bed.outline = {{x, y}, {x + width, y}, {x + width, y + depth}, {x, y + depth}};
        break;
    }
    case BedShape::Circle: {
        bed.centre = {fields.Number("centreX", {-2000, 2000}, 0), fields.Number("centreY", {-2000, 2000}, 0)};
        bed.diameter = fields.Number("diameter", {10, 2000});
        constexpr int corners = 96;
        for (int corner = 0; corner < corners; ++corner) {
            const double angle = 2 * std::numbers::pi * corner / corners;
            bed.outline.push_back(
                {bed.centre.x + bed.diameter / 2 * std::cos(angle), bed.centre.y + bed.diameter / 2 * std::sin(angle)});
        }
        break;
    }
    case BedShape::Polygon: {
        fields.Array("points", {3, 64}, [&](const QJsonValue& i_value, const std::string& i_path) {
            JsonFields point = fields.ItemObject(i_value, i_path);
            bed.outline.push_back({point.Number("x", {-2000, 2000}), point.Number("y", {-2000, 2000})});
            point.Finish();
        });
        // Convex, so that a part lies inside as soon as its vertices do. The sum of the turns tells a star from it.
        double turns = 0;
        const std::size_t count = bed.outline.size();
        for (std::size_t index = 0; index < count; ++index) {
            const BedPoint& a = bed.outline[index];
            const BedPoint& b = bed.outline[(index + 1) % count];
            const BedPoint& c = bed.outline[(index + 2) % count];
            const double cross = (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
            const double dot = (b.x - a.x) * (c.x - b.x) + (b.y - a.y) * (c.y - b.y);
            if (!(cross > 1e-6))
                fields.Refuse("points", "must go round a convex polygon counter-clockwise");
            turns += std::atan2(cross, dot);
        }
        if (turns > 2 * std::numbers::pi + 1e-3)
            fields.Refuse("points", "must go round a convex polygon counter-clockwise");
        break;
    }
    }
    fields.Finish();
    return bed;
}

Material ReadMaterial(JsonFields& io_fields, Technology i_technology)
{
    Material material;
    material.name = io_fields.Text("name", 100);
    material.density = io_fields.Number("density", {0.1, 25});
    if (i_technology == Technology::Fff) {
        material.filamentDiameter = io_fields.Number("diameter", {0.5, 10});
        material.nozzleTemperature = io_fields.Number("nozzleTemperature", {0, 500});
        material.bedTemperature = io_fields.Number("bedTemperature", {0, MaxBedTemperature}, 0);
    } else {
        material.exposureTime = io_fields.Number("exposureTime", {0.1, 120});
        material.firstExposureTime = io_fields.Number("firstExposureTime", {0.1, MaxFirstExposureTime});
    }
    io_fields.Finish();
    return material;
}

void ReadMaterials(JsonFields& io_fields, MachineProfile& o_profile)
{
    io_fields.Array("materials", {1, 100}, [&](const QJsonValue& i_value, const std::string& i_path) {
        JsonFields fields = io_fields.ItemObject(i_value, i_path);
        Material material = ReadMaterial(fields, o_profile.technology);
        for (const Material& other : o_profile.materials) {
            if (other.name == material.name)
                fields.Refuse("name", "must differ from the names of the other materials");
        }
        o_profile.materials.push_back(std::move(material));
    });
    const std::string name = io_fields.Text("defaultMaterial", 100, o_profile.materials.front().name);
    while (o_profile.materials[o_profile.defaultMaterial].name != name) {
        if (++o_profile.defaultMaterial == o_profile.materials.size())
            io_fields.Refuse("defaultMaterial", "must be the name of one of the materials");
    }
}

void ReadNozzles(JsonFields& io_fields, MachineProfile& o_profile)
{
    const Range range{0.1, 2};
    o_profile.nozzleDiameter = io_fields.Number("nozzleDiameter", range);
    if (!io_fields.Has("nozzles")) {
        o_profile.nozzles = {o_profile.nozzleDiameter};
        return;
    }
    io_fields.Array("nozzles", {1, 20}, [&](const QJsonValue& i_value, const std::string& i_path) {
        o_profile.nozzles.push_back(io_fields.ItemNumber(i_value, i_path, range));
    });
    if (std::find(o_profile.nozzles.begin(), o_profile.nozzles.end(), o_profile.nozzleDiameter) ==
        o_profile.nozzles.end())
        io_fields.Refuse("nozzles", "must hold the number of the field nozzleDiameter");
}

void ReadPlates(JsonFields& io_fields, MachineProfile& o_profile)
{
    if (!io_fields.Has("plates"))
        return;
    io_fields.Array("plates", {1, 20}, [&](const QJsonValue& i_value, const std::string& i_path) {
        JsonFields fields = io_fields.ItemObject(i_value, i_path);
        Plate plate;
        plate.name = fields.Text("name", 100);
        if (o_profile.technology == Technology::Fff)
            plate.bedTemperatureOffset = fields.Number("bedTemperatureOffset", {-50, 50}, 0);
        else
            plate.firstExposureFactor = fields.Number("firstExposureFactor", {0.5, 3}, 1);
        fields.Finish();
        for (const Plate& other : o_profile.plates) {
            if (other.name == plate.name)
                fields.Refuse("name", "must differ from the names of the other plates");
        }
        o_profile.plates.push_back(std::move(plate));
    });
}

void ReadLayerHeights(JsonFields& io_fields, MachineProfile& o_profile)
{
    // A layer thicker than three quarters of the nozzle does not hold together; the engine refuses one above the
    // nozzle. The smallest counts, so that every height goes with every nozzle.
    const Range range = o_profile.technology == Technology::Fff
                            ? Range{0.02, *std::min_element(o_profile.nozzles.begin(), o_profile.nozzles.end()) * 0.75}
                            : Range{0.01, 0.3};
    io_fields.Array("layerHeights", {1, 20}, [&](const QJsonValue& i_value, const std::string& i_path) {
        o_profile.layerHeights.push_back(io_fields.ItemNumber(i_value, i_path, range));
    });
}

void ReadStrategies(JsonFields& io_fields, MachineProfile& o_profile)
{
    if (!io_fields.Has("strategies"))
        return;
    io_fields.Array("strategies", {0, 1000}, [&](const QJsonValue& i_value, const std::string& i_path) {
        JsonFields fields = io_fields.ItemObject(i_value, i_path);
        o_profile.strategies.push_back({fields.Text("id", 100), fields.Text("name", 100),
                                        fields.Text("role", 100, std::string("part")),
                                        ReadEngineSettings(fields, AllowedPartSettings(o_profile.technology))});
        fields.Finish();
    });
}

boost::uuids::uuid ReadId(JsonFields& io_fields)
{
    const std::string text = io_fields.Text("id", 36);
    const char* const requirement = "must be a uuid of 36 characters that is not nil";
    try {
        const auto id = boost::uuids::string_generator()(text);
        if (text.size() == 36 && !id.is_nil())
            return id;
    } catch (const std::exception&) {
        // Said below.
    }
    io_fields.Refuse("id", requirement);
}

std::optional<ConfigurationTime> ReadRevised(JsonFields& io_fields)
{
    if (!io_fields.Has("revised"))
        return std::nullopt;
    const auto time = QDateTime::fromString(QString::fromStdString(io_fields.Text("revised", 30)), Qt::ISODate);
    if (!time.isValid() || time.timeSpec() == Qt::LocalTime)
        io_fields.Refuse("revised", "must be a time such as \"2026-03-01T12:00:00Z\"");
    return ConfigurationTime(std::chrono::milliseconds(time.toMSecsSinceEpoch()));
}

} // namespace

DatedProfile ReadProfile(const std::string& i_text, const std::string& i_file,
                         const std::optional<ConfigurationTime>& i_file_time)
{
    if (i_text.size() > MaxProfileBytes)
        throw ProfileError(i_file + ": the file is larger than " + std::to_string(MaxProfileBytes) + " bytes");
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(i_text), &error);
    if (error.error != QJsonParseError::NoError)
        throw ProfileError(i_file + ": not JSON at byte " + std::to_string(error.offset) + ": " +
                           error.errorString().toStdString());
    if (!document.isObject())
        throw ProfileError(i_file + ": the file must hold one JSON object");

    JsonFields fields(document.object(), i_file);
    DatedProfile dated;
    MachineProfile& profile = dated.profile;
    profile.id = ReadId(fields);
    profile.name = fields.Text("name", 200);
    profile.manufacturer = fields.Text("manufacturer", 200);
    profile.modelId = fields.Text("modelId", 200);
    profile.driverId = fields.Text("driverId", 200);
    profile.comment = fields.Text("comment", 2000, std::string(), true);
    profile.technology = static_cast<Technology>(fields.Choice("technology", {"fff", "sla"}));
    profile.bed = ReadBed(fields);
    profile.height = fields.Number("height", {10, 2000});
    if (profile.technology == Technology::Fff) {
        ReadNozzles(fields, profile);
    } else {
        // The engine lays the mask over the bed from its origin on.
        if (profile.bed.shape != BedShape::Rectangle || !(profile.bed.outline.front() == BedPoint{}))
            fields.Refuse("bed", "must be a rectangle with its origin at 0, 0 for resin");
        profile.displayWidth = std::floor(fields.Number("displayPixelsX", {100, 20'000}));
        profile.displayHeight = std::floor(fields.Number("displayPixelsY", {100, 20'000}));
    }
    ReadLayerHeights(fields, profile);
    ReadMaterials(fields, profile);
    ReadPlates(fields, profile);
    ReadStrategies(fields, profile);
    profile.configuration = ReadSections(fields);
    profile.engineSettings = ReadEngineSettings(fields, AllowedEngineSettings(profile.technology));
    profile.configuresConnection = fields.Boolean("configuresConnection", false);
    profile.acceptsImplicitData = fields.Boolean("acceptsImplicitData", false);
    profile.acceptsComposedParts = fields.Boolean("acceptsComposedParts", true);
    profile.queueState =
        static_cast<QueueState>(fields.Choice("queueState", {"running", "paused", "error", "offline"}, 0));
    profile.engineDeadline = std::chrono::seconds(static_cast<int>(fields.Number("engineDeadline", {1, 86'400}, 3600)));
    const auto revised = ReadRevised(fields);
    dated.time = i_file_time ? i_file_time : revised;
    fields.Finish();
    return dated;
}

} // namespace MachineService::BuildProcessor
