#include "buildprocessor/engine/EngineSettings.h"

#include "contract/Failure.h"
#include "tavsdk/Text.h"

#include <array>
#include <fstream>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

/// A value of the settings file: line breaks are written as the engine reads them.
std::string Escaped(const std::string& i_text)
{
    std::string escaped;
    for (const char character : i_text) {
        if (character == '\n')
            escaped += "\\n";
        else
            escaped += character;
    }
    return escaped;
}

/// A text where the engine expects a list of texts: any character in it is the text's own.
std::string Quoted(const std::string& i_text)
{
    std::string quoted = "\"";
    for (const char character : i_text) {
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += character;
    }
    return quoted + '"';
}

/// Commands that turn heaters, fan and steppers off.
struct Ending
{
    std::string_view flavor;
    const char* commands;
};

constexpr char Usual[] = "M104 S0 ; heaters off\nM140 S0\nM107 ; fan off\nM84 ; steppers off";
constexpr char WithTool[] = "M104 S0 T0 ; heaters off\nM140 S0 T0\nM127 ; fan off\nM18 ; steppers off";
constexpr std::array Endings{Ending{"reprap", Usual},   Ending{"reprapfirmware", Usual}, Ending{"repetier", Usual},
                             Ending{"teacup", Usual},   Ending{"marlin", Usual},         Ending{"marlin2", Usual},
                             Ending{"smoothie", Usual}, Ending{"makerware", WithTool},   Ending{"sailfish", WithTool}};

const Ending* FindEnding(std::string_view i_flavor)
{
    for (const Ending& ending : Endings) {
        if (ending.flavor == i_flavor)
            return &ending;
    }
    return nullptr;
}

void AddFffSettings(const MachineProfile& i_profile, EngineConfiguration& io_settings)
{
    const Material& material = i_profile.GetDefaultMaterial();
    io_settings["printer_technology"] = "FFF";
    io_settings["nozzle_diameter"] = TavSDK::NumberToText(i_profile.nozzleDiameter);
    io_settings["layer_height"] = io_settings["first_layer_height"] =
        TavSDK::NumberToText(i_profile.layerHeights.front());
    io_settings["filament_type"] = Quoted(material.name);
    io_settings["filament_diameter"] = TavSDK::NumberToText(material.filamentDiameter);
    io_settings["filament_density"] = TavSDK::NumberToText(material.density);
    io_settings["temperature"] = io_settings["first_layer_temperature"] =
        TavSDK::NumberToText(material.nozzleTemperature);
    io_settings["bed_temperature"] = io_settings["first_layer_bed_temperature"] =
        TavSDK::NumberToText(i_profile.GetBedTemperature());
    io_settings["gcode_flavor"] = "reprap";
    io_settings["end_gcode"] = "G28 X0 ; out of the way";
    // Not unless a profile asks: around a part at the bed's edge they would leave the bed.
    io_settings["skirts"] = io_settings["brim_width"] = "0";
}

void AddSlaSettings(const MachineProfile& i_profile, EngineConfiguration& io_settings)
{
    const Material& material = i_profile.GetDefaultMaterial();
    const BedPoint& corner = i_profile.bed.outline[2];
    io_settings["printer_technology"] = "SLA";
    io_settings["display_width"] = TavSDK::NumberToText(corner.x);
    io_settings["display_height"] = TavSDK::NumberToText(corner.y);
    io_settings["display_pixels_x"] = TavSDK::NumberToText(i_profile.displayWidth);
    io_settings["display_pixels_y"] = TavSDK::NumberToText(i_profile.displayHeight);
    io_settings["display_orientation"] = "landscape";
    io_settings["layer_height"] = io_settings["initial_layer_height"] =
        TavSDK::NumberToText(i_profile.layerHeights.front());
    io_settings["exposure_time"] = TavSDK::NumberToText(material.exposureTime);
    io_settings["initial_exposure_time"] = TavSDK::NumberToText(i_profile.GetFirstExposureTime());
    io_settings["min_exposure_time"] = io_settings["min_initial_exposure_time"] = "0";
    io_settings["max_exposure_time"] = "120";
    io_settings["max_initial_exposure_time"] = "300";
    io_settings["material_density"] = TavSDK::NumberToText(material.density);
    io_settings["supports_enable"] = io_settings["pad_enable"] = "0";
}

} // namespace

EngineConfiguration MakeEngineConfiguration(const MachineProfile& i_profile)
{
    EngineConfiguration settings;
    std::string outline;
    for (const BedPoint& point : i_profile.bed.outline)
        outline += (outline.empty() ? "" : ",") + TavSDK::NumberToText(point.x) + 'x' + TavSDK::NumberToText(point.y);
    settings["bed_shape"] = outline;
    settings["max_print_height"] = TavSDK::NumberToText(i_profile.height);
    if (i_profile.technology == Technology::Fff)
        AddFffSettings(i_profile, settings);
    else
        AddSlaSettings(i_profile, settings);
    for (const auto& [name, value] : i_profile.engineSettings)
        settings[name] = value;
    if (i_profile.technology == Technology::Fff) {
        // The estimates of each part are read off these marks.
        settings["gcode_label_objects"] = "1";
        if (const Ending* const ending = FindEnding(settings["gcode_flavor"]))
            settings["end_gcode"] += std::string("\n") + ending->commands;
        // The engine takes relative lengths only when they begin anew with each layer.
        if (const auto relative = settings.find("use_relative_e_distances");
            relative != settings.end() && relative->second == "1")
            settings["layer_gcode"] = "G92 E0";
    }
    return settings;
}

std::string ToText(const EngineConfiguration& i_configuration)
{
    std::string text;
    for (const auto& [name, value] : i_configuration)
        text += name + " = " + Escaped(value) + '\n';
    return text;
}

void WriteEngineConfiguration(const EngineConfiguration& i_configuration, const std::filesystem::path& i_path)
{
    std::ofstream file(i_path, std::ios::binary);
    file << ToText(i_configuration);
    file.close();
    if (!file)
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' with the engine's settings cannot be written.");
}

bool CanEndSafely(const std::string& i_gcode_flavor)
{
    return FindEnding(i_gcode_flavor) != nullptr;
}

} // namespace MachineService::BuildProcessor
