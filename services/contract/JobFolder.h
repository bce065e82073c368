#pragma once

#include <boost/uuid/uuid.hpp>

#include <filesystem>
#include <stop_token>
#include <string>

namespace MachineService {

/// A user's text as a name in a folder: no separators, no control or direction marks, not hidden, not reserved, not too
/// long, never empty. Texts that differ may give the same name.
std::string ToFileName(const std::string& i_text);

/// What the folder of a machine's jobs is called: machines of one name have one each.
std::string GetMachineFolderName(const std::string& i_machine_name, const boost::uuids::uuid& i_machine_id);

/// Leaves a machine file in the output folder of its run, from where it reaches hosts elsewhere: as a further name of
/// the file where the file system allows it, as a copy otherwise.
/// \throws CommunicationException FileError; ProcessingAborted when the token asked.
void LeaveMachineFile(const std::filesystem::path& i_file, const std::filesystem::path& i_output_dir,
                      const std::stop_token& i_stop);

/// The folder of one job of a machine, made new and private; gone with the object unless the job was kept.
///
/// A job never takes the folder of another: the second job of a name gets "name (2)".
class JobFolder
{
public:
    /// \param i_jobs_dir folder of all jobs; made on demand.
    /// \param i_machine see GetMachineFolderName.
    /// \throws CommunicationException FileError.
    JobFolder(const std::filesystem::path& i_jobs_dir, const std::string& i_machine, const std::string& i_job_name);
    ~JobFolder();
    JobFolder(const JobFolder&) = delete;
    JobFolder& operator=(const JobFolder&) = delete;

    /// Copies a file into the folder under the job's name: complete or not at all.
    /// \return its path.
    /// \throws CommunicationException FileError; ProcessingAborted when the token asked.
    std::filesystem::path AddFile(const std::filesystem::path& i_source, const std::string& i_extension,
                                  const std::stop_token& i_stop);
    void Keep() { _keep = true; }

private:
    const std::string _name;
    std::filesystem::path _dir;
    bool _keep = false;
};

} // namespace MachineService
