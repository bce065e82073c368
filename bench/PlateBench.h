#pragma once

namespace Bench {

/// Of the plate's drawing: the frame while something moves, and the memory of large meshes.
void AddPlateBenchmarks();

} // namespace Bench
