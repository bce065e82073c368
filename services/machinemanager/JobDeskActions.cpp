#include "machinemanager/JobDesk_p.h"

#include <algorithm>
#include <utility>

namespace MachineService::MachineManager {

Job JobDesk::Act(const Actor& i_actor, const boost::uuids::uuid& i_id, JobAction i_action,
                 std::optional<std::uint64_t> i_version)
{
    _impl->RequireOwn(i_actor, i_id);
    const auto change = [&](JobEvent i_event, const std::function<void(Job&)>& i_edit = {}) {
        return _impl->Explained(_impl->store.Change(i_id, {i_event, i_actor.name, {}, i_edit}, i_version));
    };
    const auto anew = [](Job& io_job) {
        io_job.attempts = 0;
        io_job.notBefore.reset();
    };
    switch (i_action) {
    case JobAction::Hold:
        return change(JobEvent::Hold);
    case JobAction::Release:
        return change(JobEvent::Release, anew);
    case JobAction::Cancel:
        return change(JobEvent::Cancel);
    case JobAction::StartAgain:
        return change(JobEvent::StartAgain, anew);
    case JobAction::ConfirmDone:
        return change(JobEvent::ConfirmDone, [](Job& io_job) { io_job.copiesDone = io_job.copies; });
    case JobAction::Acknowledge:
        break;
    }
    return _impl->Explained(_impl->store.Edit(
        i_id, "acknowledge", i_actor.name, "What is loaded will do.", [](Job& io_job) { io_job.isAcknowledged = true; },
        i_version));
}

Job JobDesk::Move(const Actor& i_actor, const boost::uuids::uuid& i_id, const JobTarget& i_target,
                  std::optional<std::uint64_t> i_version)
{
    const auto job = _impl->RequireOwn(i_actor, i_id);
    JobTarget target = i_target;
    target.model = Impl::Clean(target.model);
    target.material = Impl::Clean(target.material);
    _impl->CheckTarget(target);
    if (IsFinal(job.phase) || NeedsClaim(job.phase))
        throw ManagerError(ManagerError::Kind::Conflict,
                           Impl::DescribePhase(job) + " and cannot be moved any more; copy it instead.");
    // The version: a machine may take it at this moment.
    return _impl->Explained(_impl->store.Edit(
        i_id, "move", i_actor.name, {},
        [&](Job& io_job) {
            io_job.target = target;
            io_job.machineFile.reset();
            io_job.isAcknowledged = false;
            io_job.attempts = 0;
            io_job.notBefore.reset();
        },
        i_version.value_or(job.version)));
}

Job JobDesk::SetPriority(const Actor& i_actor, const boost::uuids::uuid& i_id, int i_priority,
                         std::optional<std::uint64_t> i_version)
{
    // Whose own jobs may go first is not for their owners to say.
    Impl::Require(i_actor, Role::Operate);
    Impl::CheckPriority(i_priority);
    return _impl->Explained(_impl->store.Edit(
        i_id, "priority", i_actor.name, "The priority is " + std::to_string(i_priority) + '.',
        [&](Job& io_job) { io_job.priority = i_priority; }, i_version));
}

Job JobDesk::PlaceBefore(const Actor& i_actor, const boost::uuids::uuid& i_id, const boost::uuids::uuid& i_other)
{
    Impl::Require(i_actor, Role::Operate);
    JobFilter filter;
    filter.states = {JobState::Pending, JobState::PendingHeld};
    filter.count = 500;
    auto queue = _impl->store.List(filter);
    std::erase_if(queue, [&](const Job& i_job) { return i_job.id == i_id; });
    std::sort(queue.begin(), queue.end(), [](const Job& i_left, const Job& i_right) {
        return std::pair(i_left.position, i_left.number) < std::pair(i_right.position, i_right.number);
    });
    const auto place = std::find_if(queue.begin(), queue.end(), [&](const Job& i_job) { return i_job.id == i_other; });
    if (place == queue.end() && !i_other.is_nil())
        throw ManagerError(ManagerError::Kind::Conflict, "The other job does not wait any more.");
    double position = 0;
    if (place == queue.end())
        position = queue.empty() ? 0 : queue.back().position + 1;
    else if (place == queue.begin())
        position = place->position - 1;
    else
        position = (std::prev(place)->position + place->position) / 2;
    const int priority = place == queue.end() ? 0 : place->priority;
    return _impl->Explained(
        _impl->store.Edit(i_id, "place", i_actor.name, "The job has another place in the queue.", [&](Job& io_job) {
            io_job.position = position;
            if (priority != 0)
                io_job.priority = priority;
        }));
}

Job JobDesk::Copy(const Actor& i_actor, const boost::uuids::uuid& i_id, const boost::uuids::uuid& i_new_id)
{
    Impl::Require(i_actor, Role::Submit);
    // The job may be removed now, and its files with it.
    const auto hold = _impl->files.Hold();
    const auto job = _impl->Require(i_id);
    if (job.phase == JobPhase::Incoming || !_impl->files.Has(job.platform.hash))
        throw ManagerError(ManagerError::Kind::Conflict, Impl::DescribePhase(job) + "; its platform is not here.");
    NewJob copy = job;
    copy.id = i_new_id;
    copy.owner = Impl::Clean(i_actor.name);
    copy.isDraft = false;
    return _impl->Explained(_impl->store.Add(copy, true));
}

} // namespace MachineService::MachineManager
