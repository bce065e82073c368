#pragma once

#include "client/interface/CommandTypes.h"
#include "contract/AbstractServiceCatalog.h"
#include "machinemanager/JobDesk.h"

#include <functional>
#include <memory>
#include <string>

namespace MachineService::MachineManager {

class MachineBoard;

/// The id of a machine at the manager; the same for the same machine of a Build Processor, always.
boost::uuids::uuid GetManagedId(const boost::uuids::uuid& i_original);

/// The machines of the Build Processors once more, as hosts post jobs for them: the service of kind MachineManager.
///
/// Platforms, choices and strategies are those of the original. A queue that an operator paused takes no jobs; whatever
/// else keeps a machine from building shows in its state, and jobs wait for it.
///
/// Ownership: desk and board are not owned and outlive it. Destroying stops what runs and waits for it.
/// \param i_find_actor whose the jobs are, by the caller's name (client/interface/Caller.h).
/// \param i_get_address of the page that shows a job to somebody; empty: there is none.
std::unique_ptr<AbstractServiceCatalog>
MakeManagerCatalog(JobDesk& io_desk, MachineBoard& io_board,
                   std::function<Actor(const std::string& i_caller)> i_find_actor,
                   std::function<JobListAddress(const boost::uuids::uuid& i_job, const Actor& i_actor)> i_get_address);

} // namespace MachineService::MachineManager
