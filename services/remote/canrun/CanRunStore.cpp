#include "remote/canrun/CanRunStore.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace MachineService::Remote {

namespace {

/// All buttons of a ribbon are asked about within it.
constexpr std::chrono::milliseconds Fresh(500);

CanRunAnswer Find(const CanRunStore::Answers& i_answers, const boost::uuids::uuid& i_command)
{
    const auto found = i_answers.commands.find(i_command);
    return found == i_answers.commands.end() ? CanRunAnswer{i_answers.areAllYes, {}} : found->second;
}

/// Before every form of the machine.
CanRunStore::Key FirstKey(const boost::uuids::uuid& i_machine)
{
    return {i_machine, MachineRepresentation(std::numeric_limits<std::int32_t>::min())};
}

} // namespace

bool CanRunStore::Ask(const Key& i_machine, const boost::uuids::uuid& i_command, Clock::time_point i_now,
                      Waiter i_waiter)
{
    CanRunAnswer answer;
    {
        const TavSDK::MutexLock lock(_mutex);
        Machine& machine = _machines[i_machine];
        if (!machine.time || i_now - *machine.time >= Fresh) {
            // The answer that is on its way is one from before the change.
            (machine.isOverrun ? machine.late : machine.waiting).emplace_back(i_command, std::move(i_waiter));
            return !std::exchange(machine.isAsking, true);
        }
        answer = Find(machine.answers, i_command);
    }
    i_waiter.answer(answer);
    return false;
}

bool CanRunStore::Answer(const Key& i_machine, const Answers& i_answers, Clock::time_point i_now)
{
    decltype(Machine::waiting) waiting;
    bool isAskedAgain = false;
    {
        const TavSDK::MutexLock lock(_mutex);
        Machine& machine = _machines[i_machine];
        machine.answers = i_answers;
        machine.time = machine.isOverrun ? std::nullopt : std::optional(i_now);
        waiting = std::exchange(machine.waiting, std::exchange(machine.late, {}));
        isAskedAgain = !machine.waiting.empty();
        machine.isAsking = isAskedAgain;
        machine.isOverrun = false;
    }
    for (const auto& [command, waiter] : waiting)
        waiter.answer(Find(i_answers, command));
    return isAskedAgain;
}

void CanRunStore::Fail(const Key& i_machine, const std::exception_ptr& ip_failure)
{
    decltype(Machine::waiting) waiting;
    {
        const TavSDK::MutexLock lock(_mutex);
        Machine& machine = _machines[i_machine];
        machine.time.reset();
        machine.isAsking = machine.isOverrun = false;
        waiting.swap(machine.waiting);
        std::move(machine.late.begin(), machine.late.end(), std::back_inserter(waiting));
        machine.late.clear();
    }
    for (const auto& [command, waiter] : waiting)
        waiter.fail(ip_failure);
}

void CanRunStore::Invalidate(const boost::uuids::uuid& i_machine)
{
    const TavSDK::MutexLock lock(_mutex);
    for (auto form = _machines.lower_bound(FirstKey(i_machine));
         form != _machines.end() && form->first.first == i_machine; ++form) {
        form->second.time.reset();
        form->second.isOverrun = form->second.isAsking;
    }
}

void CanRunStore::Forget(const boost::uuids::uuid& i_machine)
{
    const TavSDK::MutexLock lock(_mutex);
    for (auto form = _machines.lower_bound(FirstKey(i_machine));
         form != _machines.end() && form->first.first == i_machine;)
        form = form->second.isAsking ? std::next(form) : _machines.erase(form);
}

} // namespace MachineService::Remote
