#pragma once

#include "client/interface/CanRunAnswers.h"
#include "client/interface/ServiceTypes.h"
#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <exception>
#include <functional>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace MachineService::Remote {

/// What machines answered about their commands: one question to the service serves all commands of a machine, and all
/// who ask within a moment.
///
/// Thread: any. Whoever waits is called without a lock, on the thread that brings the answer.
class CanRunStore
{
public:
    using Clock = std::chrono::steady_clock;
    /// A machine in one of its forms.
    using Key = std::pair<boost::uuids::uuid, MachineRepresentation>;

    struct Answers
    {
        std::map<boost::uuids::uuid, CanRunAnswer> commands; ///< a command that is not named cannot run
        bool areAllYes = false;                              ///< the service does not tell
    };

    /// One of the two is called, once.
    struct Waiter
    {
        std::function<void(const CanRunAnswer&)> answer;
        std::function<void(const std::exception_ptr&)> fail;
    };

    /// The waiter is called at once where the answer is fresh; otherwise with that of the service.
    /// \return whether the caller is to ask the service now, and to call Answer or Fail.
    bool Ask(const Key& i_machine, const boost::uuids::uuid& i_command, Clock::time_point i_now, Waiter i_waiter);
    /// \return whether the caller is to ask once more: somebody asked after a change that these answers do not know.
    bool Answer(const Key& i_machine, const Answers& i_answers, Clock::time_point i_now);
    void Fail(const Key& i_machine, const std::exception_ptr& ip_failure);
    /// The machine's answers may differ now: what is on its way is for those alone who asked before.
    void Invalidate(const boost::uuids::uuid& i_machine);
    void Forget(const boost::uuids::uuid& i_machine);

private:
    struct Machine
    {
        Answers answers;
        std::optional<Clock::time_point> time; ///< of the answers; empty: there are none that count
        bool isAsking = false;
        bool isOverrun = false; ///< while it is asked, something changed
        std::vector<std::pair<boost::uuids::uuid, Waiter>> waiting;
        std::vector<std::pair<boost::uuids::uuid, Waiter>> late; ///< asked after that change
    };

    TavSDK::Mutex _mutex; ///< guards _machines
    std::map<Key, Machine> _machines TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::Remote
