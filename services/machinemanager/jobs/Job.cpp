#include "machinemanager/jobs/Job.h"

namespace MachineService::MachineManager {

std::vector<std::string> Job::GetReasons() const
{
    std::vector<std::string> reasons = {GetInfo(phase).reason};
    if (!waitReason.empty() && !IsFinal(phase))
        reasons.push_back(waitReason);
    return reasons;
}

} // namespace MachineService::MachineManager
