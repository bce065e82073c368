#pragma once

#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

/// Tells everybody who asked for it that a job, or a machine, was changed.
///
/// Thread: any.
class ChangeFeed
{
public:
    using Slot = std::function<void(const boost::uuids::uuid& i_job)>;

    /// \param i_log told what a slot threw.
    explicit ChangeFeed(std::function<void(const std::string&)> i_log);

    /// Ends when what is returned goes, which waits for calls that are on their way, except in the call itself.
    std::shared_ptr<void> Subscribe(Slot i_slot);
    void Tell(const boost::uuids::uuid& i_job) const;

private:
    struct Listener;
    struct State
    {
        TavSDK::Mutex mutex; ///< guards listeners
        std::vector<std::shared_ptr<Listener>> listeners TAVSDK_GUARDED_BY(mutex);
    };

    const std::function<void(const std::string&)> _log;
    const std::shared_ptr<State> _state; ///< subscriptions may outlive the feed
};

} // namespace MachineService::MachineManager
