#pragma once

#include "tavam/Platform.h"

#include <string>

namespace MachineService::MachineManager {

/// The parts of a platform as they stand on the plate, seen from the front and above: a PNG with a transparent ground,
/// 320 by 240 pixels. Empty when there is nothing to see.
///
/// Thread: any; takes about as long as the file took to read, and no more than a few hundred milliseconds.
std::string DrawPlate(const TavAM::Platform& i_platform);

} // namespace MachineService::MachineManager
