#pragma once

#include "buildprocessor/platform/JobInput.h"

namespace MachineService::BuildProcessor {

/// Checks the platform of the input file, slices it, keeps the machine file in the machine's folder of jobs and leaves
/// it in the output folder as well, beside the platform with its estimates.
///
/// Thread: any, blocking. Whatever ends it early, nothing of it is left.
/// \throws CommunicationException FileError for the input, InternalError for the engine, ProcessingAborted.
CommandResult RunBuild(const JobInput& i_input);

} // namespace MachineService::BuildProcessor
