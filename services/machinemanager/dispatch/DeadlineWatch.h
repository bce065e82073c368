#pragma once

#include "machinemanager/jobs/Job.h"

#include <chrono>
#include <map>
#include <optional>
#include <vector>

namespace MachineService::MachineManager {

/// Counts how long jobs have been in a phase that ends after a time, by a clock that nobody sets.
///
/// What the store says of a phase's beginning counts only for jobs that were there at the first look, as after a
/// restart, and for no more than the phase's whole time: the system's clock may have been set since, or be another
/// daemon's.
///
/// Thread: one.
class DeadlineWatch
{
public:
    using Moment = std::chrono::steady_clock::time_point;

    /// \param i_jobs all that have a deadline now. \param i_now as the store tells times.
    /// \return those whose time is over, each time until they are out of the phase.
    std::vector<TimedJob> FindOverdue(const std::vector<TimedJob>& i_jobs, Time i_now, Moment i_moment);
    /// When the next one's time is over; empty: none has a deadline.
    std::optional<Moment> GetNext() const;

private:
    struct Watched
    {
        JobPhase phase;
        Time since;
        Moment end;
    };

    std::map<boost::uuids::uuid, Watched> _watched;
    bool _hasLooked = false;
};

} // namespace MachineService::MachineManager
