#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace MachineService::BuildProcessor {

/// What one part takes, read off the machine file.
struct PartEstimates
{
    std::size_t layers = 0;
    double millimetres = 0; ///< of filament
};

/// What the machine file tells of the job. Every value was found in it and is finite and above zero.
struct Estimates
{
    std::size_t layers = 0;
    double seconds = 0;
    std::optional<double> millimetres; ///< of filament
    double cubicCentimetres = 0;
    double grams = 0;
    /// By the parts' order in the engine's model; empty when the machine file does not tell parts apart.
    std::vector<PartEstimates> parts;
};

/// cm³ of a length of filament in mm.
double GetFilamentVolume(const Material& i_material, double i_millimetres);

} // namespace MachineService::BuildProcessor
