#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stop_token>
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

/// Reads and checks G-code: complete, its extrusion on the bed and below the height, estimates there and in agreement.
/// \throws CommunicationException InternalError with what is wrong; ProcessingAborted when the token asked.
Estimates ReadGCodeEstimates(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                             std::size_t i_part_count, std::stop_token i_stop);

/// Reads and checks a package of layer images with its estimates.
/// \throws CommunicationException as ReadGCodeEstimates.
Estimates ReadResinEstimates(const std::filesystem::path& i_path, const MachineProfile& i_profile,
                             std::stop_token i_stop);

} // namespace MachineService::BuildProcessor
