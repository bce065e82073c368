#pragma once

#include "machinemanager/page/http/Http.h"
#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

/// Those who listen to changes, each with what it was not told yet. A reader that is slow is told once of a job that
/// changed often, and of everything when there is too much.
///
/// Thread: any.
class EventStreams
{
public:
    static constexpr int MostReaders = 32;
    static constexpr std::chrono::milliseconds Interval = std::chrono::seconds(15); ///< between two comments

    /// A job changed; nil: a machine.
    void Tell(const boost::uuids::uuid& i_job);
    /// The answer that goes on until the reader goes; empty when there are too many readers.
    std::optional<HttpResponse> Open();
    int GetReaders();

private:
    class Reader;

    TavSDK::Mutex _mutex; ///< guards _readers
    std::vector<std::weak_ptr<Reader>> _readers TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::MachineManager
