#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/Machine.h"
#include "commands/HostContext.h"
#include "commands/ServiceAnswer.h"

#include <QString>

namespace VexlorCore {
class HeldScene;
}

namespace MachineService::Helpers {

/// Parameters of one run: the command and the operation of the host that calls it.
CommandParameters MakeParameters(const CommandDescription& i_description, const char* ip_process_name);

/// \throws std::runtime_error when there is no scene.
VexlorCore::DataSet& RequireScene(const DataSetGetter& i_data_set);

bool IsServedByMachineManager(const Machine& i_machine);

/// Runs a command of the machine on the scene under the host's progress display and loads what comes back.
///
/// Thread: UI thread; keeps its event loop turning. The scene may be closed meanwhile, and the command that runs may be
/// dropped from the ribbon.
/// \return false when the command failed; the user was told then.
/// \throws what the host throws when it cannot run a job, for example because another one still runs; nobody was told
/// then.
bool RunCommand(const VexlorCore::HeldScene& i_scene, const Machine& i_machine, const CommandParameters& i_parameters,
                DataFormat i_data_format, const QString& i_title, const ApiProviderGetter& i_api_provider);

/// The same for an operation of the machine that is not one of its commands, under the host's default progress.
bool RunOperation(const VexlorCore::HeldScene& i_scene, const MachineOperation& i_operation,
                  const CommandParameters& i_parameters, DataFormat i_data_format, const QString& i_title,
                  const ApiProviderGetter& i_api_provider);

} // namespace MachineService::Helpers
