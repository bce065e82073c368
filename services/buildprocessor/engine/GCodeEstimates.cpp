#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/engine/Estimates.h"
#include "buildprocessor/geometry/BuildVolumeCheck.h"
#include "contract/Failure.h"
#include "tavsdk/FileError.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <numbers>
#include <string>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

// The engine rounds coordinates to 0.001 mm and may put a seam slightly off its contour.
constexpr double PathTolerance = 0.05;

[[noreturn]] void FailFile(const std::string& i_what)
{
    Fail(ErrorCode::InternalError, "The slicing engine's machine file is not usable: " + i_what + '.');
}

bool ReadNumber(std::string_view i_text, double& o_value)
{
    while (!i_text.empty() && i_text.front() == ' ')
        i_text.remove_prefix(1);
    return std::from_chars(i_text.data(), i_text.data() + i_text.size(), o_value).ec == std::errc() &&
           std::isfinite(o_value);
}

/// "1d 2h 32m 28s" in seconds; 0 when it is something else.
double ReadDuration(std::string_view i_text)
{
    double seconds = 0;
    while (!i_text.empty()) {
        double value = 0;
        const auto [end, error] = std::from_chars(i_text.data(), i_text.data() + i_text.size(), value);
        if (error != std::errc() || end == i_text.data() + i_text.size())
            return 0;
        const std::string_view units = "smhd";
        const std::size_t unit = units.find(*end);
        if (unit == std::string_view::npos)
            return 0;
        constexpr double factors[] = {1, 60, 3600, 86400};
        seconds += value * factors[unit];
        i_text.remove_prefix(static_cast<std::size_t>(end + 1 - i_text.data()));
        while (!i_text.empty() && i_text.front() == ' ')
            i_text.remove_prefix(1);
    }
    return seconds;
}

/// Follows the machine through the file line by line.
class GCodeReader
{
public:
    GCodeReader(const MachineProfile& i_profile, std::size_t i_part_count)
        : _profile(i_profile)
    {
        _estimates.parts.resize(i_part_count);
        _lastLayers.resize(i_part_count);
    }

    void ReadLine(std::string_view i_line)
    {
        if (i_line.starts_with(';'))
            _ReadComment(i_line.substr(1));
        else if (i_line.size() > 1)
            _ReadCommand(i_line.substr(0, i_line.find(';')));
    }

    Estimates Finish()
    {
        const Material& material = _profile.GetDefaultMaterial();
        if (_estimates.layers == 0)
            FailFile("it holds no layer");
        if (!(_estimates.seconds > 0) || !(_statedMillimetres > 0))
            FailFile("its time and material are missing");
        double partSum = 0;
        for (const PartEstimates& part : _estimates.parts) {
            if (part.layers == 0 || !(part.millimetres > 0))
                FailFile("a part is missing in it");
            partSum += part.millimetres;
        }
        // Both count the same moves; skirts and the like belong to no part.
        if (partSum > _statedMillimetres * 1.02 + 1)
            FailFile("its parts take more material than the whole");
        _estimates.millimetres = _statedMillimetres;
        _estimates.cubicCentimetres = GetFilamentVolume(material, _statedMillimetres);
        _estimates.grams = _estimates.cubicCentimetres * material.density;
        return _estimates;
    }

private:
    void _ReadComment(std::string_view i_text)
    {
        constexpr std::string_view start = " printing object ";
        constexpr std::string_view stop = " stop printing object ";
        constexpr std::string_view time = " estimated printing time (normal mode) = ";
        constexpr std::string_view material = " filament used [mm] = ";
        constexpr std::string_view height = "Z:";
        if (i_text == "LAYER_CHANGE") {
            ++_estimates.layers;
        } else if (i_text.starts_with(start)) {
            _EnterPart(i_text);
        } else if (i_text.starts_with(stop)) {
            _part = nullptr;
        } else if (i_text.starts_with(time)) {
            _estimates.seconds = ReadDuration(i_text.substr(time.size()));
        } else if (i_text.starts_with(material)) {
            ReadNumber(i_text.substr(material.size()), _statedMillimetres);
        } else if (i_text.starts_with(height)) {
            double z = 0;
            if (!ReadNumber(i_text.substr(height.size()), z) || z > _profile.height + _profile.layerHeights.front())
                FailFile("a layer lies above the machine's height");
        }
    }

    void _EnterPart(std::string_view i_text)
    {
        // The name is a user's: the number is behind the last "id:".
        const std::size_t at = i_text.rfind(" id:");
        std::size_t index = 0;
        if (at == std::string_view::npos ||
            std::from_chars(i_text.data() + at + 4, i_text.data() + i_text.size(), index).ec != std::errc() ||
            index >= _estimates.parts.size())
            FailFile("it names a part that was not sent");
        _part = &_estimates.parts[index];
        if (_lastLayers[index] != _estimates.layers) {
            _lastLayers[index] = _estimates.layers;
            ++_part->layers;
        }
    }

    void _ReadCommand(std::string_view i_line)
    {
        const std::size_t nameEnd = std::min(i_line.find(' '), i_line.size());
        const std::string_view name = i_line.substr(0, nameEnd);
        if (name == "G1" || name == "G0")
            _Move(i_line.substr(nameEnd));
        else if (name == "G92")
            _SetPosition(i_line.substr(nameEnd));
        else if (name == "M82" || name == "M83")
            _isRelativeE = name == "M83";
        else if (name == "G90" || name == "G91")
            _isRelative = _isRelativeE = name == "G91";
    }

    template <class Visit>
    static void _ForEachWord(std::string_view i_words, const Visit& i_visit)
    {
        while (!i_words.empty()) {
            if (i_words.front() == ' ') {
                i_words.remove_prefix(1);
                continue;
            }
            const std::size_t end = std::min(i_words.find(' '), i_words.size());
            double value = 0;
            // A letter alone is a flag, as in "G28 X".
            if (end > 1 && !ReadNumber(i_words.substr(1, end - 1), value))
                FailFile("it holds something that is not a number");
            i_visit(i_words.front(), value);
            i_words.remove_prefix(end);
        }
    }

    void _Move(std::string_view i_words)
    {
        double extruded = 0;
        bool moves = false;
        _ForEachWord(i_words, [&](char i_letter, double i_value) {
            if (i_letter == 'X' || i_letter == 'Y') {
                double& axis = i_letter == 'X' ? _x : _y;
                moves = true;
                axis = _isRelative ? axis + i_value : i_value;
            } else if (i_letter == 'E') {
                extruded = _isRelativeE ? i_value : i_value - _e;
                _e += extruded;
            }
        });
        if (extruded != 0)
            _Extrude(extruded);
        // Before the first layer the machine may clean its nozzle beside the bed.
        if (extruded > 0 && moves && _estimates.layers > 0 && !IsOnBed(_profile.bed, _x, _y, PathTolerance))
            FailFile("it extrudes beside the bed, in layer " + std::to_string(_estimates.layers));
    }

    void _Extrude(double i_length)
    {
        // Material is what goes beyond the furthest that was ever pushed: pulling back and pushing again takes none.
        _pushed += i_length;
        if (_pushed <= _furthest)
            return;
        if (_part)
            _part->millimetres += _pushed - _furthest;
        _furthest = _pushed;
    }

    void _SetPosition(std::string_view i_words)
    {
        _ForEachWord(i_words, [&](char i_letter, double i_value) {
            if (i_letter == 'E')
                _e = i_value;
            else if (i_letter == 'X')
                _x = i_value;
            else if (i_letter == 'Y')
                _y = i_value;
        });
    }

    const MachineProfile& _profile;
    Estimates _estimates;
    std::vector<std::size_t> _lastLayers; ///< by part, the last layer that it was seen in
    PartEstimates* _part = nullptr;
    double _statedMillimetres = 0;
    double _x = 0;
    double _y = 0;
    double _e = 0;
    double _pushed = 0;
    double _furthest = 0;
    bool _isRelative = false;
    bool _isRelativeE = false;
};

} // namespace

double GetFilamentVolume(const Material& i_material, double i_millimetres)
{
    return i_millimetres * std::numbers::pi / 4 * i_material.filamentDiameter * i_material.filamentDiameter / 1000;
}

Estimates ReadGCodeEstimates(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                             std::size_t i_part_count, std::stop_token i_stop)
{
    std::ifstream file(i_path, std::ios::binary);
    if (!file)
        FailFile("it cannot be read: " + TavSDK::ErrnoText(errno));
    GCodeReader reader(i_profile, i_part_count);
    std::string line;
    std::size_t count = 0;
    while (std::getline(file, line)) {
        if (++count % 4096 == 0)
            ThrowIfStopped(i_stop);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        reader.ReadLine(line);
    }
    if (file.bad())
        FailFile("it cannot be read to its end");
    return reader.Finish();
}

} // namespace MachineService::BuildProcessor
