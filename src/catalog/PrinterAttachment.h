#pragma once

#include "client/interface/Machine.h"
#include "machineservice_export.h"

#include "machinelayer/MachineRepType.h"
#include "vexlorcore/DataSet.h"

#include <QString>
#include <QUuid>

#include <boost/uuid/uuid.hpp>

#include <functional>
#include <optional>

/// The printer of a scene. Nothing else writes or reads the attachment; a host leaves it as it is when it takes in what
/// a machine made.
///
/// A scene keeps a copy of the machine as a transient property, and the machine's id as an AMX property that is saved
/// with the project. Ids of earlier versions, under another name, win over present ones until another machine is
/// attached.
///
/// Thread: UI thread. A scene must be given, except where null is said to be allowed.
namespace MachineService::Utilities {

/// \throws std::runtime_error when the scene's stored id is malformed, std::invalid_argument when its stored time is
///         and it names that machine already; so does UpdateMachineAMProperties.
MACHINESERVICE_EXPORT void AttachPrinter(VexlorCore::DataSet* ip_data_set, const Machine& i_machine);
/// Afterwards the scene does not know any machine.
MACHINESERVICE_EXPORT void DetachPrinter(VexlorCore::DataSet* ip_data_set);
/// Drops the copy of the machine and its configuration time; the scene still names its machine.
MACHINESERVICE_EXPORT void ClearCachedMachineData(VexlorCore::DataSet* ip_data_set);

/// The machine that the scene holds a copy of. Null is allowed.
MACHINESERVICE_EXPORT std::optional<Machine> GetPrinter(VexlorCore::DataSet* ip_data_set);
/// As GetPrinter, otherwise looks the id that the scene names up and keeps the machine found. Null is allowed.
/// \param i_lookup may close the scene; called with the null id when the stored one is malformed; not called when there
/// is none.
MACHINESERVICE_EXPORT std::optional<Machine> TryGetPrinter(std::function<std::optional<Machine>(const QUuid&)> i_lookup,
                                                           VexlorCore::DataSet* ip_data_set);

/// The id of the machine that the scene names, whether or not somebody knows it; empty when it names none.
/// \throws std::runtime_error when the stored id is malformed.
MACHINESERVICE_EXPORT std::optional<boost::uuids::uuid> GetNamedMachineId(VexlorCore::DataSet* ip_data_set);

/// Records the machine's id and configuration time; for the machine that the scene already names, only the time.
MACHINESERVICE_EXPORT void UpdateMachineAMProperties(VexlorCore::DataSet* ip_data_set, const Machine& i_machine);

/// Name in the host's command manager of a command of a machine's own.
MACHINESERVICE_EXPORT QString GetDynamicCommandName(const boost::uuids::uuid& i_command_id);

/// Unknown values become the default one. The name is published as it is written here.
MACHINESERVICE_EXPORT MachineRepresentation ToMachinePrepresentation(MachineLayer::MachineRepType i_type);
MACHINESERVICE_EXPORT MachineLayer::MachineRepType ToMachineRepType(MachineRepresentation i_representation);

} // namespace MachineService::Utilities
