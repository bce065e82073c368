#include "machinemanager/dispatch/DeadlineWatch.h"

#include <algorithm>
#include <utility>

namespace MachineService::MachineManager {

std::vector<TimedJob> DeadlineWatch::FindOverdue(const std::vector<TimedJob>& i_jobs, Time i_now, Moment i_moment)
{
    std::map<boost::uuids::uuid, Watched> watched;
    std::vector<TimedJob> overdue;
    for (const auto& job : i_jobs) {
        const auto known = _watched.find(job.id);
        const std::chrono::milliseconds whole = GetInfo(job.phase).deadline;
        const auto spent = _hasLooked ? std::chrono::milliseconds(0)
                                      : std::clamp(i_now - job.since, std::chrono::milliseconds(0), whole);
        const bool isKnown =
            known != _watched.end() && known->second.phase == job.phase && known->second.since == job.since;
        const Watched entry = isKnown ? known->second : Watched{job.phase, job.since, i_moment + whole - spent};
        if (entry.end <= i_moment)
            overdue.push_back(job);
        watched.emplace(job.id, entry);
    }
    _watched = std::move(watched);
    _hasLooked = true;
    return overdue;
}

std::optional<DeadlineWatch::Moment> DeadlineWatch::GetNext() const
{
    const auto next = std::min_element(_watched.begin(), _watched.end(), [](const auto& i_one, const auto& i_other) {
        return i_one.second.end < i_other.second.end;
    });
    return next == _watched.end() ? std::nullopt : std::optional(next->second.end);
}

} // namespace MachineService::MachineManager
