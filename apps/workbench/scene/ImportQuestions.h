#pragma once

#include "client/interface/MachineData.h"
#include "tavam/Part.h"

#include <QString>

#include <optional>
#include <vector>

namespace Workbench {

/// What was read of one mesh file.
struct ImportedFile
{
    QString path;
    std::vector<TavAM::Part> parts;
};

/// Lengths of the box around all parts of the file, as read. Units: mm.
TavAM::Point3d GetSize(const std::vector<TavAM::Part>& i_parts);

/// The factors to mm that are worth offering for a file without a unit whose size cannot be meant: below 1 mm or above
/// two metres in every direction. The most plausible first; empty when there is nothing to ask.
std::vector<double> GetUnitChoices(const ImportedFile& i_file);

/// Below 1, by how much the largest of the parts must be scaled to fit the volume; 1 when all fit.
double GetFittingScale(const std::vector<TavAM::Part>& i_parts, const MachineService::BuildVolume& i_volume);

/// Around the origin of the platform.
void Scale(std::vector<TavAM::Part>& io_parts, double i_factor);

} // namespace Workbench
