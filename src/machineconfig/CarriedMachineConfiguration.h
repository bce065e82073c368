#pragma once

#include "machineconfig/PlatformMachineConfiguration.h"
#include "machineservice_export.h"

#include <optional>

namespace TavAM {
class Platform;
}
namespace VexlorCore {
class DataSet;
}

/// The configuration that a platform carries, also through its file, to whoever processes it: the document that
/// WriteMachineConfiguration() makes, in the AMX property TavAM::PropertyNames::Print3D::MachineConfiguration.
namespace MachineService {

/// \throws CommunicationException InternalError for a configuration that cannot be written or is too long for a
/// platform file; the platform is then left as it was.
MACHINESERVICE_EXPORT void SetMachineConfiguration(TavAM::Platform& io_platform,
                                                   const PlatformMachineConfiguration& i_configuration);

/// Empty when the platform carries none.
/// \throws CommunicationException FileError when it carries one that cannot be read.
MACHINESERVICE_EXPORT std::optional<PlatformMachineConfiguration>
GetMachineConfiguration(const TavAM::Platform& i_platform);

namespace Utilities {

/// Makes the scene's platform carry the configuration that its machine data have now, or none when they have no
/// section. Without machine data it keeps the one that came with its file, which is then the only one there is.
///
/// A host calls it before it saves a scene; the library does when it attaches a printer, when a scene gets active or
/// another platform, and before a machine receives the scene. It costs little when nothing has changed.
///
/// A configuration that is too long for a platform file is left out with a warning in the log: the scene can be saved
/// and sent all the same, and the machine goes by what it knows itself.
///
/// Thread: UI thread.
/// \throws CommunicationException InternalError for machine data that no configuration can hold,
/// std::invalid_argument for machine parameters that cannot be understood. The platform then carries none.
MACHINESERVICE_EXPORT void UpdateMachineConfiguration(VexlorCore::DataSet* ip_data_set);

} // namespace Utilities
} // namespace MachineService
