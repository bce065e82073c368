#include "buildprocessor/platform/JobProgress.h"

#include "buildprocessor/base/Cancellation.h"

#include <algorithm>

namespace MachineService::BuildProcessor {

void JobProgress::Report(int i_percent, const std::string& i_stage)
{
    ThrowIfStopped(_input.stop);
    _percent = std::max(_percent, i_percent);
    if (_input.parameters.onProgress)
        _input.parameters.onProgress(_percent, i_stage);
}

void JobProgress::Finish() const
{
    if (_input.parameters.onProgress)
        _input.parameters.onProgress(100, "Done");
}

} // namespace MachineService::BuildProcessor
