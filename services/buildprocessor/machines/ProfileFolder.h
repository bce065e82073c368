#pragma once

#include "buildprocessor/machines/MachineProfile.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// The machine profiles of one folder together with the shipped ones.
///
/// A file that cannot be read or understood is reported once per content and takes down nobody: when it was good
/// before, its last good profile stays. Of two files with one id the first by file name counts; a file counts before a
/// shipped profile, which is how a user changes one.
///
/// Thread: one at a time.
class ProfileFolder
{
public:
    /// What is wrong with a profile beyond its form, as "field … is …"; empty when nothing is.
    using FindFault = std::function<std::string(const MachineProfile&)>;

    /// \param i_find_fault called by Scan once for each new content of a file; may be empty.
    explicit ProfileFolder(std::filesystem::path i_folder, FindFault i_find_fault = {});

    /// Reads what changed since the last time. In ascending order of file names, shipped ones last.
    /// Problems go to the log; \param o_problems gets those that are new.
    std::vector<DatedProfile> Scan(std::vector<std::string>& o_problems);

private:
    struct Entry
    {
        std::string content;
        std::string problem;
        std::optional<DatedProfile> profile; ///< the last good one
    };

    void _ReadFile(const std::filesystem::path& i_path, Entry& io_entry, std::vector<std::string>& o_problems) const;

    void _ApplyStates(std::vector<DatedProfile>& io_profiles, std::vector<std::string>& o_problems);

    const std::filesystem::path _folder;
    const FindFault _findFault;
    std::map<std::string, Entry> _entries; ///< by file name
    std::vector<std::string> _knownDuplicates;
    std::vector<std::string> _stateProblems;
    std::string _folderProblem;
};

} // namespace MachineService::BuildProcessor
