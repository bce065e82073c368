#include "machinemanager/jobs/Job.h"

namespace MachineService::MachineManager {

std::vector<std::string> Job::GetReasons() const
{
    std::vector<std::string> reasons = {GetInfo(phase).reason};
    if (!waitReason.empty() && !IsFinal(phase))
        reasons.push_back(waitReason);
    return reasons;
}

bool IsPutOff(const Job& i_job, Time i_now)
{
    return i_job.notBefore && *i_job.notBefore > i_now && *i_job.notBefore <= i_now + LongestPutOff;
}

} // namespace MachineService::MachineManager
