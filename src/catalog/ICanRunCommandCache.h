#pragma once

#include "machineservice_export.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <functional>
#include <future>
#include <memory>

namespace MachineService {

/// Remembers which commands can run, and asks for it again in the background while somebody wants to know.
///
/// Thread: any. Destroying it waits for a pass in progress, also for a slow service.
struct ICanRunCommandCache
{
    ICanRunCommandCache() = default;
    ICanRunCommandCache(const ICanRunCommandCache&) = default;
    ICanRunCommandCache& operator=(const ICanRunCommandCache&) = default;
    virtual ~ICanRunCommandCache() = default;

    /// The last known answer; false until the first one came. Never waits for the service, and brings about a refresh
    /// of all commands that were asked about.
    virtual bool Get(const boost::uuids::uuid& i_command_id) = 0;
};

/// Starts the cache's thread, on which it asks and reports. The cache is an IKnowsCanRun as well (by dynamic_cast).
/// \param i_fetch asks the service. What it throws, and what its future throws, leaves the last answer; a future that
///        is not valid counts as the answer false.
/// \param i_interval pause after each pass; std::chrono::milliseconds::max() makes the first pass the last one.
/// \param i_on_changed called after a pass in which an answer changed, never once the cache began to go.
/// \throws std::system_error when no thread can be started.
MACHINESERVICE_EXPORT std::unique_ptr<ICanRunCommandCache>
CreateCanRunCommandCache(std::function<std::future<bool>(const boost::uuids::uuid&)> i_fetch,
                         std::chrono::milliseconds i_interval, std::function<void()> i_on_changed);

} // namespace MachineService
