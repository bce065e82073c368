#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <vector>

namespace MachineService::BuildProcessor {

/// A vertex may leave the volume by this much, mm: what a placement loses when it is written as text.
inline constexpr double VolumeTolerance = 0.01;

/// True when the point lies on the bed or nearer to it than the tolerance, mm.
bool IsOnBed(const Bed& i_bed, double i_x, double i_y, double i_tolerance = VolumeTolerance);

/// Every vertex of every part against bed, plate and height.
/// \throws CommunicationException FileError that names the parts that leave the volume, that float above the plate
///         where the machine makes no supports, or that are too low for a layer.
void CheckBuildVolume(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts);

} // namespace MachineService::BuildProcessor
