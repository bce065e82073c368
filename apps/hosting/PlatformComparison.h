#pragma once

#include "tavam/Platform.h"

#include <QString>

namespace Hosting {

/// Says where two platforms differ, in one sentence; empty when they hold the same. Placements may differ by 1e-6 mm.
QString FindDifference(const TavAM::Platform& i_expected, const TavAM::Platform& i_found);

} // namespace Hosting
