#include "buildprocessor/verify/LayerRules.h"

#include "buildprocessor/engine/EngineSettings.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

// What the engine's own rounding does to an outline: it closes gaps of 0.1 mm and leaves out points of a straight line.
constexpr double OutlineTolerance = 0.1;
constexpr double RowsPerNozzle = 3;
// The engine's own choice where it is not told a width.
constexpr double WidthPerNozzle = 1.125;
constexpr double FirstWidthPerHeight = 2;

double RoundAsTold(double i_width)
{
    return std::round(i_width * 100) / 100;
}

} // namespace

LayerCut LayerRules::MakeCut(double i_z, bool i_is_first) const
{
    return {i_z, width + shrunk + (i_is_first ? foot : 0) + OutlineTolerance / 2, width / 2 + grown};
}

LayerRules MakeLayerRules(const PartGeometry& i_part, const MachineProfile& i_profile, const UsedSettings& i_used,
                          double i_width)
{
    const auto get = [&](std::string_view i_name) {
        return GetSettingNumber(i_part.settings, i_used, i_name);
    };
    const double diameter = i_profile.GetDefaultMaterial().filamentDiameter;
    LayerRules rules;
    rules.nozzle = i_profile.nozzleDiameter;
    rules.width = std::max(i_width, rules.nozzle);
    rules.grown = std::max(get("xy_size_compensation"), 0.0);
    rules.shrunk = std::max(-get("xy_size_compensation"), 0.0);
    rules.foot = std::max(get("elefant_foot_compensation"), 0.0);
    rules.height = get("layer_height");
    rules.filament = diameter * diameter * std::numbers::pi / 4;
    rules.hasRaft = get("raft_layers") > 0;
    rules.rises = get("spiral_vase") > 0;
    rules.hasWalls = get("perimeters") > 0;
    return rules;
}

RowGrid GetLayerGrid(const MachineProfile& i_profile)
{
    return {0, i_profile.nozzleDiameter / RowsPerNozzle};
}

std::vector<std::vector<LayerCut>> ExpectLayers(const MachineProfile& i_profile,
                                                const std::vector<PartGeometry>& i_parts)
{
    const EngineConfiguration configuration = MakeEngineConfiguration(i_profile);
    const UsedSettings settings(configuration.begin(), configuration.end());
    std::vector<std::vector<LayerCut>> expected(i_parts.size());
    for (std::size_t index = 0; index < i_parts.size(); ++index) {
        const PartGeometry& part = i_parts[index];
        const double height = GetSettingNumber(part.settings, settings, "layer_height");
        double first = GetSettingNumber({}, settings, "first_layer_height");
        if (settings.at("first_layer_height").ends_with('%'))
            first *= height / 100;
        const LayerRules rules = MakeLayerRules(
            part, i_profile, settings,
            std::max(RoundAsTold(WidthPerNozzle * i_profile.nozzleDiameter), RoundAsTold(FirstWidthPerHeight * first)));
        // Rafts and supports shift the layers.
        if (!(height > 0) || !(first > 0) || rules.hasRaft || part.box.min.z > first)
            continue;
        expected[index].push_back(rules.MakeCut(first / 2, true));
        for (double layer = 0; first + layer * height + height / 2 <= part.box.max.z + height; ++layer)
            expected[index].push_back(rules.MakeCut(first + layer * height + height / 2, false));
    }
    return expected;
}

} // namespace MachineService::BuildProcessor
