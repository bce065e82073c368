#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/PlatformTypes.h"
#include "client/interface/ProgressWatcherFuture.h"
#include "remote/RemoteService.h"

#include <string>
#include <utility>

namespace MachineService::Remote {

// Questions about platforms. Each waits for the service, on one of its worker threads, and throws
// CommunicationException.

PlatformInfo AskPlatformInformation(RemoteService& io_service, const pb::MachineReference& i_machine,
                                    ProgressWatcher& io_watcher);
std::pair<CommandResult, Platform> AskEmptyPlatform(RemoteService& io_service, const pb::MachineReference& i_machine,
                                                    const std::string& i_parameters);
/// \param i_name of the machine, for a sentence.
void SendPlatform(RemoteService& io_service, const pb::MachineReference& i_machine, const Platform& i_platform,
                  const std::string& i_name, ProgressWatcher& io_watcher);
ProfileAssignments AskProfileAssignments(const RemoteService& i_service, const pb::MachineReference& i_machine);

} // namespace MachineService::Remote
