#pragma once

#include "client/interface/Machine.h"
#include "machineservice_export.h"

#include "tavam/Object.h"
#include "vexlorcore/DataSet.h"

#include <optional>

/// The configuration time of its machine that a scene was prepared for, kept as an AMX property of the scene.
///
/// Units: whole seconds since 1970-01-01 00:00 UTC; fractions are cut off.
/// Thread: UI thread.
namespace MachineService::Utilities {

/// Writes the present time. Announces nothing.
MACHINESERVICE_EXPORT void SetPldfTimeStampToCurrentTime(VexlorCore::DataSet* ip_data_set);

/// Writes the machine's configuration time; leaves the property alone when the machine has none. Announces nothing and
/// never throws.
MACHINESERVICE_EXPORT void SetPldfTimestampFromMachine(TavAM::Object& io_object, const Machine& i_machine);

/// Empty when the scene has none.
/// \throws std::invalid_argument when the stored time cannot be read.
MACHINESERVICE_EXPORT std::optional<long long> GetPldfTimestamp(VexlorCore::DataSet* ip_data_set);

/// Advances the time when the machine's is more than 5 seconds newer, or there is none yet, and sends
/// BPPlatformRevisionChanged to the scene's database.
/// \throws std::invalid_argument when the stored time cannot be read.
MACHINESERVICE_EXPORT void UpdatePldfTimestamp(VexlorCore::DataSet* ip_data_set, const Machine& i_machine);

} // namespace MachineService::Utilities
