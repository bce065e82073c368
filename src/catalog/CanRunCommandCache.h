#pragma once

#include "catalog/ICanRunCommandCache.h"
#include "client/interface/CanRunAnswers.h"

#include <atomic>
#include <memory>
#include <thread>
#include <variant>

namespace MachineService {

class CanRunCommandCache final : public ICanRunCommandCache, public IKnowsCanRun
{
public:
    /// Asks the service, for the answer alone or with its reason.
    using Fetch = std::variant<std::function<std::future<bool>(const boost::uuids::uuid&)>,
                               std::function<std::future<CanRunAnswer>(const boost::uuids::uuid&)>>;

    CanRunCommandCache(Fetch i_fetch, std::chrono::milliseconds i_interval, std::function<void()> i_on_changed);
    /// May run on the worker itself, when the last owner lets go inside the callback.
    ~CanRunCommandCache() override;
    CanRunCommandCache(const CanRunCommandCache&) = delete;
    CanRunCommandCache& operator=(const CanRunCommandCache&) = delete;

    bool Get(const boost::uuids::uuid& i_command_id) override;
    KnownCanRunAnswer GetKnownCanRunAnswer(const boost::uuids::uuid& i_command_id) const override;

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
