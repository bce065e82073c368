#pragma once

#include "buildprocessor/platform/JobInput.h"

#include <string>

namespace MachineService::BuildProcessor {

/// Tells the caller how far the job is; only forwards, and only while it is wanted.
class JobProgress
{
public:
    explicit JobProgress(const JobInput& i_input)
        : _input(i_input)
    {}

    /// \throws CommunicationException ProcessingAborted when the job is to stop.
    void Report(int i_percent, const std::string& i_stage);
    /// The job is done, and stays so even if its caller gave up in this moment.
    void Finish() const;

private:
    const JobInput& _input;
    int _percent = 0;
};

} // namespace MachineService::BuildProcessor
