#pragma once

#include "tavam/Platform.h"

#include <string>

namespace Vexlor {

/// XML that describes a platform without its meshes, for machines that take their geometry another way. UTF-8. Its form
/// is described in docs/host-scene-xml.md.
/// Thread: any.
std::string DescribeScene(const TavAM::Platform& i_platform);

} // namespace Vexlor
