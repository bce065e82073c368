#pragma once

#include "buildprocessor/engine/UsedSettings.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"
#include "buildprocessor/verify/SectionsAhead.h"

#include <vector>

namespace MachineService::BuildProcessor {

/// What the engine made the layers of a part with. Units: mm.
struct LayerRules
{
    double width = 0;    ///< of the widest extrusion
    double nozzle = 0;   ///< diameter
    double grown = 0;    ///< outlines lie this much further out than the part's
    double shrunk = 0;   ///< or further in
    double foot = 0;     ///< and the first layer's still further in
    double height = 0;   ///< of its layers, but for the first
    double filament = 0; ///< mm², what a millimetre of filament holds
    bool hasRaft = false;
    bool hasWalls = true;
    bool rises = false; ///< within a layer, as the outline of a vase does

    /// Material is asked for wherever a disc of two widths lies in the part's section, and may lie a width outside.
    LayerCut MakeCut(double i_z, bool i_is_first) const;
};

/// \param i_width of the widest extrusion, as far as the engine told.
LayerRules MakeLayerRules(const PartGeometry& i_part, const MachineProfile& i_profile, const UsedSettings& i_used,
                          double i_width);

/// Rows that are close enough to see what a nozzle can make.
RowGrid GetLayerGrid(const MachineProfile& i_profile);

/// Where the engine is going to cut the parts, as far as the settings tell: a guess, by which nothing is judged.
std::vector<std::vector<LayerCut>> ExpectLayers(const MachineProfile& i_profile,
                                                const std::vector<PartGeometry>& i_parts);

} // namespace MachineService::BuildProcessor
