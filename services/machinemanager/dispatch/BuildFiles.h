#pragma once

#include "client/interface/CommandTypes.h"
#include "machinemanager/jobs/Job.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

/// What a platform file tells of itself.
struct PlatformFacts
{
    JobNeeds needs;
    JobEstimates estimates;
    std::map<std::string, std::string> settings; ///< what it was prepared with, by a word for people
    std::string picture;                         ///< PNG of the plate; empty: there is nothing to see
};

/// \throws CommunicationException FileError for a file that holds no platform.
PlatformFacts ReadPlatformFacts(const std::filesystem::path& i_platform);

/// As Job::order has it.
std::string WriteOrder(const std::vector<PartParameters>& i_parts);

/// Puts the platform into the input folder and tells the machine what the job says; command, output folder, stop token
/// and progress are left to the caller.
/// \throws ManagerError Storage.
CommandParameters MakeBuildParameters(const Job& i_job, const std::filesystem::path& i_platform,
                                      const std::filesystem::path& i_input_dir);

/// What a machine's Build left.
struct BuildOutput
{
    std::filesystem::path machineFile;
    std::string name;
    std::optional<JobEstimates> estimates;
};

/// The machine file lies beside the platform; a machine that only tells where it keeps it is believed when the file is
/// there.
/// \throws CommunicationException UnexpectedOutput with a sentence: no machine file, or several.
BuildOutput ReadBuildOutput(const std::filesystem::path& i_output_dir);

} // namespace MachineService::MachineManager
