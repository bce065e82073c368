#pragma once

#include "vexlorcore_export.h"

#include <filesystem>

namespace VexlorCore {

class Database;
class DataSet;

/// Saves the scene as .TavAMX; the scene then bears the file's name.
/// Thread: UI thread.
/// \throws TavAM::FileError; the scene keeps its name then.
VEXLORCORE_EXPORT void SaveScene(DataSet& io_scene, const std::filesystem::path& i_path);

/// A new scene with the one platform of the file, not activated.
/// Thread: UI thread.
/// \throws TavAM::FileError, also for a file that does not hold exactly one platform; no scene is made then.
VEXLORCORE_EXPORT DataSet* LoadScene(Database& io_database, const std::filesystem::path& i_path);

} // namespace VexlorCore
