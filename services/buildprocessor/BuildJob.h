#pragma once

#include "buildprocessor/MachineProfile.h"
#include "client/interface/CommandTypes.h"

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace MachineService::BuildProcessor {

/// What a run of Build needs.
struct BuildInput
{
    const MachineProfile& profile;
    const CommandParameters& parameters;
    const std::optional<std::string>& enginePath;
    const std::filesystem::path& jobsDir;
    std::stop_token stop; ///< of the job; the parameters' own is not asked
};

/// Checks the platform of the input file, slices it, keeps the machine file in the machine's folder of jobs and writes
/// the platform with its figures into the output folder.
///
/// Thread: any, blocking. Whatever ends it early, nothing of it is left.
/// \throws CommunicationException FileError for the input, InternalError for the engine, ProcessingAborted.
CommandResult RunBuild(const BuildInput& i_input);

} // namespace MachineService::BuildProcessor
