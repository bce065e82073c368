#pragma once

#include "machinelayer/IMachineData.h"
#include "vexlorcore_export.h"

namespace VexlorCore {
class DataSet;
}

/// The machine data of a scene. They are made from the machine parameters of the scene's platform when they are first
/// asked for, unless the scene was saved with machine data of its own; another platform brings its own.
///
/// Thread: UI thread.
namespace MachineLayer::Utilities {

/// Null when the scene's platform has no machine. Owned by the scene; valid until its platform is replaced.
/// \throws std::invalid_argument for machine parameters or saved machine data that cannot be understood.
VEXLORCORE_EXPORT IMachineData* GetMachineDataMutable(VexlorCore::DataSet* ip_data_set);

/// Lets the scene's machine data be saved with it, as they are now. Harmless without machine data.
/// \throws std::runtime_error for a text in them that a document cannot carry, or when they are too long for a platform
///         file; std::invalid_argument for a number out of its range. What was saved with the scene then stays.
VEXLORCORE_EXPORT void StoreMachineData(VexlorCore::DataSet* ip_data_set);

} // namespace MachineLayer::Utilities
