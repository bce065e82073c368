#include "buildprocessor/SlicingEngine.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/Subprocess.h"
#include "client/interface/ScopedTempDir.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view ExportedMark = "Slicing result exported to";

/// Where a stage stands on the way from 0 to 100. The engine's own percentages jump back and forth between parts.
struct Stage
{
    std::string_view text;
    int percent;
};

constexpr std::array FffStages{Stage{"Processing triangulated mesh", 10},
                               Stage{"Generating perimeters", 25},
                               Stage{"Preparing infill", 40},
                               Stage{"Infilling layers", 55},
                               Stage{"Generating support material", 65},
                               Stage{"Generating skirt", 80},
                               Stage{"Exporting G-code", 90}};

std::string Plain(double i_value)
{
    std::array<char, 32> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), i_value).ptr;
    return std::string(buffer.data(), end);
}

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

// The engine refuses a file in which a key stands twice; the map lets a profile replace a default.
using Settings = std::map<std::string, std::string>;

void AddFffSettings(const MachineProfile& i_profile, Settings& io_settings)
{
    const Material& material = i_profile.GetDefaultMaterial();
    io_settings["printer_technology"] = "FFF";
    io_settings["nozzle_diameter"] = Plain(i_profile.nozzleDiameter);
    io_settings["layer_height"] = io_settings["first_layer_height"] = Plain(i_profile.layerHeights.front());
    io_settings["filament_type"] = material.name;
    io_settings["filament_diameter"] = Plain(material.filamentDiameter);
    io_settings["filament_density"] = Plain(material.density);
    io_settings["temperature"] = io_settings["first_layer_temperature"] = Plain(material.nozzleTemperature);
    io_settings["bed_temperature"] = io_settings["first_layer_bed_temperature"] = Plain(i_profile.GetBedTemperature());
    // Not unless a profile asks: around a part at the bed's edge they would leave the bed.
    io_settings["skirts"] = io_settings["brim_width"] = "0";
}

void AddSlaSettings(const MachineProfile& i_profile, Settings& io_settings)
{
    const Material& material = i_profile.GetDefaultMaterial();
    const BedPoint& corner = i_profile.bed.outline[2];
    io_settings["printer_technology"] = "SLA";
    io_settings["display_width"] = Plain(corner.x);
    io_settings["display_height"] = Plain(corner.y);
    io_settings["display_pixels_x"] = Plain(i_profile.displayWidth);
    io_settings["display_pixels_y"] = Plain(i_profile.displayHeight);
    io_settings["display_orientation"] = "landscape";
    io_settings["layer_height"] = io_settings["initial_layer_height"] = Plain(i_profile.layerHeights.front());
    io_settings["exposure_time"] = Plain(material.exposureTime);
    io_settings["initial_exposure_time"] = Plain(i_profile.GetFirstExposureTime());
    io_settings["min_exposure_time"] = io_settings["min_initial_exposure_time"] = "0";
    io_settings["max_exposure_time"] = "120";
    io_settings["max_initial_exposure_time"] = "300";
    io_settings["material_density"] = Plain(material.density);
    io_settings["supports_enable"] = io_settings["pad_enable"] = "0";
}

void WriteSettings(const MachineProfile& i_profile, const std::filesystem::path& i_path)
{
    Settings settings;
    std::string outline;
    for (const BedPoint& point : i_profile.bed.outline)
        outline += (outline.empty() ? "" : ",") + Plain(point.x) + 'x' + Plain(point.y);
    settings["bed_shape"] = outline;
    settings["max_print_height"] = Plain(i_profile.height);
    if (i_profile.technology == Technology::Fff)
        AddFffSettings(i_profile, settings);
    else
        AddSlaSettings(i_profile, settings);
    for (const auto& [name, value] : i_profile.engineSettings)
        settings[name] = value;
    // The figures of each part are read off these marks.
    if (i_profile.technology == Technology::Fff)
        settings["gcode_label_objects"] = "1";
    std::ofstream file(i_path, std::ios::binary);
    for (const auto& [name, value] : settings)
        file << name << " = " << Escaped(value) << '\n';
    file.close();
    if (!file)
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' with the engine's settings cannot be written.");
}

/// The engine's own reason: its last lines without time stamps and progress.
std::string GetReason(const std::string& i_tail)
{
    std::string reason;
    std::size_t begin = 0;
    while (begin < i_tail.size()) {
        const std::size_t end = std::min(i_tail.find('\n', begin), i_tail.size());
        std::string line = i_tail.substr(begin, end - begin);
        begin = end + 1;
        if (line.find(" => ") != std::string::npos || line.find("[trace]") != std::string::npos)
            continue;
        // Only what can be shown in a box: the output can be anything.
        std::erase_if(line, [](char i_character) {
            return static_cast<unsigned char>(i_character) < 0x20 || i_character == 0x7f;
        });
        std::replace_if(
            line.begin(), line.end(), [](char i_character) { return static_cast<unsigned char>(i_character) >= 0x80; },
            '?');
        if (!line.empty())
            reason += (reason.empty() ? "" : " ") + line;
    }
    constexpr std::size_t longest = 400;
    return reason.size() > longest ? reason.substr(reason.size() - longest) : reason;
}

[[noreturn]] void FailWithReason(const std::string& i_what, const std::string& i_tail)
{
    const std::string reason = GetReason(i_tail);
    Fail(ErrorCode::InternalError, reason.empty() ? i_what + '.' : i_what + ": " + reason);
}

void CheckEnd(const SubprocessResult& i_result, std::chrono::seconds i_deadline)
{
    switch (i_result.end) {
    case SubprocessResult::End::Stopped:
        throw CommunicationException(ErrorCode::ProcessingAborted);
    case SubprocessResult::End::DeadlinePassed:
        Fail(ErrorCode::InternalError, "The slicing engine did not finish within " +
                                           std::to_string(i_deadline.count()) + " seconds and was ended.");
    case SubprocessResult::End::Signalled:
        FailWithReason("The slicing engine was ended by signal " + std::to_string(i_result.code), i_result.tail);
    case SubprocessResult::End::Exited:
        if (i_result.code != 0)
            FailWithReason("The slicing engine failed with status " + std::to_string(i_result.code), i_result.tail);
    }
}

/// "55 => Infilling layers" or " 55% => Rasterizing layers".
void ReportProgress(const std::string& i_line, const EngineRun& i_run, int& io_highest)
{
    const std::size_t arrow = i_line.find(" => ");
    if (arrow == std::string::npos)
        return;
    std::string text = i_line.substr(arrow + 4);
    int percent = io_highest;
    if (i_run.profile.technology == Technology::Sla) {
        percent = std::atoi(i_line.c_str());
    } else {
        for (const Stage& stage : FffStages) {
            if (!text.starts_with(stage.text))
                continue;
            percent = stage.percent;
            // Without what follows, such as a path that means nothing to the user.
            text = stage.text;
            break;
        }
    }
    io_highest = std::clamp(percent, io_highest, 100);
    if (i_run.onProgress)
        i_run.onProgress(io_highest, GetReason(text));
}

} // namespace

std::string FindEngine(const std::optional<std::string>& i_setting)
{
    if (i_setting && !i_setting->empty()) {
        if (access(i_setting->c_str(), X_OK) == 0 && std::filesystem::is_regular_file(*i_setting))
            return *i_setting;
        Fail(ErrorCode::InternalError,
             "The slicing engine '" + *i_setting +
                 "' of the setting engine.path is not a program; correct the setting or install the "
                 "package prusa-slicer and remove it.");
    }
    const char* const path = std::getenv("PATH");
    std::string_view rest = path ? path : "/usr/bin:/bin";
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        const auto candidate = std::filesystem::path(rest.substr(0, end)) / "prusa-slicer";
        rest.remove_prefix(std::min(end + 1, rest.size()));
        std::error_code ignored;
        if (candidate.is_absolute() && access(candidate.c_str(), X_OK) == 0 &&
            std::filesystem::is_regular_file(candidate, ignored))
            return candidate.string();
    }
    Fail(ErrorCode::InternalError, "The slicing engine was not found: install the package prusa-slicer (for example "
                                   "\"apt-get install prusa-slicer\") and try again.");
}

void RunEngine(const EngineRun& i_run, std::stop_token i_stop)
{
    const auto settings = i_run.workDir / "settings.ini";
    WriteSettings(i_run.profile, settings);
    bool exported = false;
    int highest = 0;
    SubprocessOptions options;
    // Into a pipe the engine would write its progress in one piece at the end. The parts stand where the user put them,
    // also above the bed: nothing is moved.
    options.command = {"stdbuf",
                       "-oL",
                       FindEngine(i_run.enginePath),
                       i_run.profile.technology == Technology::Sla ? "--export-sla" : "--export-gcode",
                       "--dont-arrange",
                       "--no-ensure-on-bed",
                       "--loglevel",
                       "2",
                       "--datadir",
                       (i_run.workDir / "engine").string(),
                       "--load",
                       settings.string(),
                       "--output",
                       i_run.output.string(),
                       i_run.model.string()};
    options.tempDir = i_run.workDir;
    options.deadline = i_run.profile.engineDeadline;
    options.onLine = [&](const std::string& i_line) {
        exported = exported || i_line.starts_with(ExportedMark);
        ReportProgress(i_line, i_run, highest);
    };
    const SubprocessResult result = RunSubprocess(options, i_stop);
    CheckEnd(result, i_run.profile.engineDeadline);
    std::error_code ignored;
    if (!exported || !std::filesystem::is_regular_file(i_run.output, ignored))
        FailWithReason("The slicing engine ended without a machine file", result.tail);
}

std::string GetEngineVersion(const std::optional<std::string>& i_setting, std::stop_token i_stop)
{
    const std::string engine = FindEngine(i_setting);
    const ScopedTempDir workDir;
    constexpr std::chrono::seconds deadline(10);
    constexpr std::string_view mark = "PrusaSlicer-";
    std::string version;
    SubprocessOptions options;
    options.command = {engine, "--help"};
    options.tempDir = workDir.GetAbsoluteDir();
    options.deadline = deadline;
    options.onLine = [&](const std::string& i_line) {
        if (version.empty() && i_line.starts_with(mark))
            version = i_line.substr(mark.size(), i_line.find(' ') - mark.size());
    };
    CheckEnd(RunSubprocess(options, i_stop), deadline);
    if (version.empty())
        Fail(ErrorCode::InternalError, "The slicing engine does not tell its version.");
    return version;
}

} // namespace MachineService::BuildProcessor
