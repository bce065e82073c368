#pragma once

#include "machinelayer/IMachineData.h"
#include "vexlorcore_export.h"

#include <memory>

namespace TavAM {
class Platform;
}
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

/// The machine data that a scene of this platform would have; null when it has no machine.
/// \throws std::invalid_argument as GetMachineDataMutable.
VEXLORCORE_EXPORT std::unique_ptr<IMachineData> MakeMachineData(const TavAM::Platform& i_platform);

/// Lets the scene's machine data be saved with it, as they are now. Harmless without machine data.
/// \throws std::runtime_error for a text in them that a document cannot carry, or when they are too long for a platform
/// file; std::invalid_argument for a number out of its range. What was saved with the scene then stays.
VEXLORCORE_EXPORT void StoreMachineData(VexlorCore::DataSet* ip_data_set);

/// Whether StoreMachineData would take them.
/// \throws as it does.
VEXLORCORE_EXPORT void CheckStorable(const IMachineData& i_data);

} // namespace MachineLayer::Utilities
