#include "buildprocessor/engine/GCodeEstimates.h"

#include "buildprocessor/base/NameList.h"
#include "buildprocessor/engine/EngineFailure.h"
#include "buildprocessor/geometry/BuildVolumeCheck.h"
#include "contract/Failure.h"

#include <charconv>
#include <numbers>
#include <string>

namespace MachineService::BuildProcessor {

namespace {

// The engine rounds coordinates to 0.001 mm and may put a seam slightly off its contour.
constexpr double PathTolerance = 0.05;

/// "1d 2h 32m 28s" in seconds; 0 when it is something else.
double ReadDuration(std::string_view i_text)
{
    double seconds = 0;
    while (!i_text.empty()) {
        double value = 0;
        const auto [end, error] = std::from_chars(i_text.data(), i_text.data() + i_text.size(), value);
        if (error != std::errc() || end == i_text.data() + i_text.size())
            return 0;
        constexpr std::string_view units = "smhd";
        constexpr double factors[] = {1, 60, 3600, 86400};
        const std::size_t unit = units.find(*end);
        if (unit == std::string_view::npos)
            return 0;
        seconds += value * factors[unit];
        i_text.remove_prefix(static_cast<std::size_t>(end + 1 - i_text.data()));
        while (!i_text.empty() && i_text.front() == ' ')
            i_text.remove_prefix(1);
    }
    return seconds;
}

} // namespace

GCodeEstimates::GCodeEstimates(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts)
    : _profile(i_profile)
    , _parts(i_parts)
    , _lastLayers(i_parts.size())
{
    _estimates.parts.resize(i_parts.size());
}

void GCodeEstimates::OnMove(const GCodeMove& i_move)
{
    if (i_move.pushed <= 0)
        return;
    if (_part)
        _part->millimetres += i_move.pushed;
    // Before the first layer the machine may clean its nozzle beside the bed.
    if (i_move.travels && _estimates.layers > 0 && !IsOnBed(_profile.bed, i_move.x, i_move.y, PathTolerance))
        _FailBesideBed();
}

void GCodeEstimates::_FailBesideBed() const
{
    const std::string where = "beside the bed, in layer " + std::to_string(_estimates.layers);
    if (!_part)
        FailMachineFile("it extrudes " + where + "; move the parts away from the edge, or do without skirt and brim");
    const std::string& name = _parts[static_cast<std::size_t>(_part - _estimates.parts.data())].name;
    Fail(ErrorCode::FileError, "What is built for the part " + JoinNames({name}) + ", such as its supports, lies " +
                                   where + ". Move it away from the edge, or turn it.");
}

void GCodeEstimates::OnPart(std::optional<std::size_t> i_part)
{
    _part = nullptr;
    if (!i_part)
        return;
    if (*i_part >= _estimates.parts.size())
        FailMachineFile("it names a part that was not sent");
    _part = &_estimates.parts[*i_part];
    if (_lastLayers[*i_part] != _estimates.layers) {
        _lastLayers[*i_part] = _estimates.layers;
        ++_part->layers;
    }
}

void GCodeEstimates::OnComment(std::string_view i_text)
{
    constexpr std::string_view time = " estimated printing time (normal mode) = ";
    constexpr std::string_view material = " filament used [mm] = ";
    constexpr std::string_view height = "Z:";
    if (i_text == "LAYER_CHANGE") {
        ++_estimates.layers;
    } else if (i_text.starts_with(time)) {
        _estimates.seconds = ReadDuration(i_text.substr(time.size()));
    } else if (i_text.starts_with(material)) {
        ReadNumber(i_text.substr(material.size()), _statedMillimetres);
    } else if (i_text.starts_with(height)) {
        double z = 0;
        if (!ReadNumber(i_text.substr(height.size()), z) || z > _profile.height + _profile.layerHeights.front())
            FailMachineFile("a layer lies above the machine's height");
    }
}

Estimates GCodeEstimates::Finish()
{
    const Material& material = _profile.GetDefaultMaterial();
    if (_estimates.layers == 0)
        FailMachineFile("it holds no layer");
    if (!(_estimates.seconds > 0) || !(_statedMillimetres > 0))
        FailMachineFile("its time and material are missing");
    double partSum = 0;
    for (const PartEstimates& part : _estimates.parts)
        partSum += part.millimetres;
    // Both count the same moves; skirts and the like belong to no part.
    if (partSum > _statedMillimetres * 1.02 + 1)
        FailMachineFile("its parts take more material than the whole");
    _estimates.millimetres = _statedMillimetres;
    _estimates.cubicCentimetres = GetFilamentVolume(material, _statedMillimetres);
    _estimates.grams = _estimates.cubicCentimetres * material.density;
    return _estimates;
}

double GetFilamentVolume(const Material& i_material, double i_millimetres)
{
    return i_millimetres * std::numbers::pi / 4 * i_material.filamentDiameter * i_material.filamentDiameter / 1000;
}

} // namespace MachineService::BuildProcessor
