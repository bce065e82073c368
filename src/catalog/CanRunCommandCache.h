#pragma once

#include "catalog/ICanRunCommandCache.h"

#include <atomic>
#include <memory>
#include <thread>

namespace MachineService {

class CanRunCommandCache final : public ICanRunCommandCache
{
public:
    CanRunCommandCache(std::function<std::future<bool>(const boost::uuids::uuid&)> i_fetch,
                       std::chrono::milliseconds i_interval, std::function<void()> i_on_changed);
    /// May run on the worker itself, when the last owner lets go inside the callback.
    ~CanRunCommandCache() override;
    CanRunCommandCache(const CanRunCommandCache&) = delete;
    CanRunCommandCache& operator=(const CanRunCommandCache&) = delete;

    bool Get(const boost::uuids::uuid& i_command_id) override;

    /// Ends the worker without waiting for a service that does not answer: it gives the pass up within a moment, and
    /// the destructor does not wait for that either.
    void Abandon();

private:
    struct State;

    void _LetWorkerGo();

    // The worker holds the state as well, and never the cache, which may go while the worker is inside a callback.
    std::shared_ptr<State> _state;
    std::shared_ptr<std::atomic<bool>> _hasEnded;
    std::thread _worker;
};

} // namespace MachineService
