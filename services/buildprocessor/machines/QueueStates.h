#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// States of queues that were set at run time, by machine. They come before the state of the profile.
///
/// A state is a file "<id of the machine>.queue" beside the profiles with one word: running, paused, error or offline.
/// Files that are damaged are left out and reported.
std::map<boost::uuids::uuid, QueueState> ReadQueueStates(const std::filesystem::path& i_folder,
                                                         std::vector<std::string>& o_problems);

/// Sets the state of a machine's queue, or takes it back so that the profile's counts again. A service that watches the
/// folder tells its clients within a second.
/// \throws CommunicationException FileError.
void SetQueueState(const std::filesystem::path& i_folder, const boost::uuids::uuid& i_machine,
                   const std::optional<QueueState>& i_state);

} // namespace MachineService::BuildProcessor
