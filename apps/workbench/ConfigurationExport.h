#pragma once

#include "Transcript.h"

#include <filesystem>

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

/// Writes the configuration that the scene's machine data have, reads it back, lets xmllint check it against its
/// schemas, and shows all of it. Where there is nothing to check with it says so, and the file is written all the same.
///
/// Thread: UI thread; waits for xmllint.
/// \throws std::runtime_error with one sentence for the user, UTF-8, also for a file that is not valid; what the
///         library throws for machine data that no configuration can hold.
void ExportConfiguration(VexlorCore::DataSet& io_scene, const std::filesystem::path& i_path, Transcript& io_transcript);

} // namespace Workbench
