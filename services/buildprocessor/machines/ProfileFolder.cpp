#include "buildprocessor/machines/ProfileFolder.h"

#include "buildprocessor/base/UniqueFd.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/machines/QueueStates.h"
#include "buildprocessor/machines/ShippedProfiles.h"
#include "contract/Failure.h"
#include "tavsdk/FileError.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <set>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxFiles = 1000;

/// Nothing for a time that no text can tell; file systems have such.
std::optional<ConfigurationTime> ToConfigurationTime(const timespec& i_time)
{
    using namespace std::chrono;
    constexpr auto first = sys_seconds(sys_days(year(1) / 1 / 1));
    constexpr auto end = sys_seconds(sys_days(year(10'000) / 1 / 1));
    const sys_seconds second{seconds(i_time.tv_sec)};
    if (second < first || second >= end)
        return std::nullopt;
    // Apart: nanoseconds alone do not reach beyond the year 2262.
    return ConfigurationTime(second) + duration_cast<ConfigurationTime::duration>(nanoseconds(i_time.tv_nsec));
}

std::string ReadBounded(const std::filesystem::path& i_path, const std::string& i_label,
                        std::optional<ConfigurationTime>& o_time)
{
    // O_NONBLOCK: a pipe of that name must not hold up the service.
    const UniqueFd file(open(i_path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info = {};
    if (!file || fstat(file.Get(), &info) != 0)
        throw ProfileError(i_label + ": the file cannot be read: " + TavSDK::ErrnoText(errno));
    if (!S_ISREG(info.st_mode))
        throw ProfileError(i_label + ": not a regular file");
    o_time = ToConfigurationTime(info.st_mtim);
    // One byte more than allowed tells a file that is too large.
    std::string text(MaxProfileBytes + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = read(file.Get(), text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw ProfileError(i_label + ": the file cannot be read: " + TavSDK::ErrnoText(errno));
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return text;
}

std::set<std::string> ListProfiles(const std::filesystem::path& i_folder, std::string& o_problem)
{
    std::set<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(i_folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        // Editors keep their unfinished files under names that begin with a dot.
        if (name.front() != '.' && entry->path().extension() == ".json")
            names.insert(name);
    }
    if (error && error != std::errc::no_such_file_or_directory)
        o_problem = "profiles: the folder '" + i_folder.string() + "' cannot be read: " + error.message();
    if (names.size() > MaxFiles) {
        o_problem = "profiles: the folder '" + i_folder.string() + "' holds more than " + std::to_string(MaxFiles) +
                    " profiles; those behind '" + *std::next(names.begin(), MaxFiles - 1) + "' are left out";
        names.erase(std::next(names.begin(), MaxFiles), names.end());
    }
    return names;
}

} // namespace

ProfileFolder::ProfileFolder(std::filesystem::path i_folder, FindFault i_find_fault)
    : _folder(std::move(i_folder))
    , _findFault(std::move(i_find_fault))
{}

std::vector<DatedProfile> ProfileFolder::Scan(std::vector<std::string>& o_problems)
{
    std::string folderProblem;
    const auto names = ListProfiles(_folder, folderProblem);
    if (folderProblem != _folderProblem && !folderProblem.empty())
        o_problems.push_back(folderProblem);
    _folderProblem = folderProblem;

    std::erase_if(_entries, [&](const auto& i_entry) { return !names.contains(i_entry.first); });
    for (const std::string& name : names)
        _ReadFile(_folder / name, _entries[name], o_problems);

    std::vector<DatedProfile> profiles;
    std::map<boost::uuids::uuid, std::string> owners;
    std::vector<std::string> duplicates;
    for (const auto& [name, entry] : _entries) {
        if (!entry.profile)
            continue;
        const auto [owner, isNew] = owners.emplace(entry.profile->profile.id, name);
        if (isNew)
            profiles.push_back(*entry.profile);
        else
            duplicates.push_back("profiles/" + name + ": field id is the same as in profiles/" + owner->second +
                                 "; the file is left out");
    }
    for (const std::string& duplicate : duplicates) {
        if (std::find(_knownDuplicates.begin(), _knownDuplicates.end(), duplicate) == _knownDuplicates.end())
            o_problems.push_back(duplicate);
    }
    _knownDuplicates = std::move(duplicates);

    for (const auto& [name, text] : GetShippedProfiles()) {
        DatedProfile shipped = ReadProfile(text, "shipped/" + name);
        if (!owners.contains(shipped.profile.id))
            profiles.push_back(std::move(shipped));
    }
    _ApplyStates(profiles, o_problems);
    return profiles;
}

void ProfileFolder::_ApplyStates(std::vector<DatedProfile>& io_profiles, std::vector<std::string>& o_problems)
{
    std::vector<std::string> problems;
    const auto states = ReadQueueStates(_folder, problems);
    for (DatedProfile& dated : io_profiles) {
        if (const auto state = states.find(dated.profile.id); state != states.end())
            dated.profile.queueState = state->second;
    }
    for (const std::string& problem : problems) {
        if (std::find(_stateProblems.begin(), _stateProblems.end(), problem) == _stateProblems.end())
            o_problems.push_back(problem);
    }
    _stateProblems = std::move(problems);
}

void ProfileFolder::_ReadFile(const std::filesystem::path& i_path, Entry& io_entry,
                              std::vector<std::string>& o_problems) const
{
    const std::string label = "profiles/" + i_path.filename().string();
    std::string problem;
    try {
        std::optional<ConfigurationTime> time;
        std::string content = ReadBounded(i_path, label, time);
        // The content decides: a file whose time alone changed is the same profile.
        if (content == io_entry.content && (io_entry.profile || !io_entry.problem.empty()))
            return;
        io_entry.content = std::move(content);
        DatedProfile profile = ReadProfile(io_entry.content, label, time);
        if (const std::string fault = _findFault ? _findFault(profile.profile) : std::string(); !fault.empty())
            throw ProfileError(label + ": " + fault);
        io_entry.profile = std::move(profile);
    } catch (const std::exception& failure) {
        problem = failure.what();
    }
    if (!problem.empty() && problem != io_entry.problem)
        o_problems.push_back(problem + (io_entry.profile ? "; its last good profile stays in use" : ""));
    io_entry.problem = std::move(problem);
}

} // namespace MachineService::BuildProcessor
