#pragma once

#include "buildprocessor/platform/JobInput.h"

#include <string>

namespace MachineService::BuildProcessor {

/// Folder of a machine's jobs: readable, and apart from that of another machine of the same name.
std::string GetMachineFolderName(const MachineProfile& i_profile);

/// Checks the platform of the input file, slices it, keeps the machine file in the machine's folder of jobs and writes
/// the platform with its estimates into the output folder.
///
/// Thread: any, blocking. Whatever ends it early, nothing of it is left.
/// \throws CommunicationException FileError for the input, InternalError for the engine, ProcessingAborted.
CommandResult RunBuild(const JobInput& i_input);

} // namespace MachineService::BuildProcessor
