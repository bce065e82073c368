#pragma once

#include "tavam/Part.h"

#include <filesystem>
#include <vector>

namespace Hosting {

class InterruptWatcher;

/// The parts of all files, in their order. The event loop turns meanwhile, and an interruption is heard at any time.
///
/// Thread: UI thread.
/// \throws what VexlorCore::ImportMeshFile throws.
/// \throws Interruption
std::vector<TavAM::Part> ReadMeshFiles(const std::vector<std::filesystem::path>& i_files,
                                       const InterruptWatcher& i_interrupts);

} // namespace Hosting
