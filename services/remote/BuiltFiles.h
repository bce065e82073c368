#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::Remote {

/// Where this host keeps the machine file of a build.
struct BuildPlace
{
    std::filesystem::path jobsDir; ///< of all machines; made on demand
    std::string machineFolder;     ///< see GetMachineFolderName
    std::string jobName;           ///< a user's text
};

/// Takes what a build at a service left: the machine file beside the platforms goes to the host's own jobs, and the
/// platforms name it there. What the service says of its own disk never counts: without a machine file they name none.
///
/// Thread: any, blocking. Nothing is kept when it throws.
/// \param i_output_dir of the run.
/// \param i_names of the files that the run left there.
/// \throws CommunicationException FileError; InternalError when there is more than one machine file; ProcessingAborted
///         when the token asked.
void KeepBuiltFiles(const BuildPlace& i_place, const std::filesystem::path& i_output_dir,
                    const std::vector<std::string>& i_names, const std::stop_token& i_stop);

} // namespace MachineService::Remote
