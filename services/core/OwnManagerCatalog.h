#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "contract/AbstractServiceCatalog.h"

#include <functional>
#include <memory>

namespace MachineService {

/// The machines of the user's own Machine Manager. Before it is started nothing of it is looked for, loaded or run;
/// starting it starts the manager when it does not run.
///
/// \param i_make_utility gives the utility of ServiceId::MachineManager each time it is called; null: the service
/// cannot be started.
std::unique_ptr<AbstractServiceCatalog>
MakeOwnManagerCatalog(std::function<std::unique_ptr<AbstractPluginUtility>()> i_make_utility);

} // namespace MachineService
