#include "hashing/Sha256.h"
#include "machinemanager/StoreDesk_p.h"

#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Text.h"

#include <set>
#include <vector>

namespace MachineService::MachineManager {

namespace {

constexpr std::chrono::seconds LongestLook{5};
constexpr std::size_t MostUnneeded = 1'000;
constexpr std::chrono::hours KeptUnneeded{1};

/// \throws FileError.
std::string HashFile(const std::filesystem::path& i_file)
{
    TavSDK::InputFile file(i_file);
    Sha256 hash;
    std::vector<char> buffer(1'000'000);
    for (std::size_t count = buffer.size(); count == buffer.size();) {
        count = file.Read(buffer.data(), buffer.size());
        hash.Add({buffer.data(), count});
    }
    return hash.GetHex();
}

/// Empty when there is nothing to say.
std::optional<StoreFinding> CheckKept(const Job& i_job, const KeptFile& i_file, const FileStore& i_files,
                                      bool i_is_whole)
{
    const auto tell = [&](const char* ip_kind, const std::string& i_words) {
        return StoreFinding{ip_kind,
                            i_job.number,
                            i_job.name,
                            i_file.name,
                            i_file.hash,
                            "The file " + TavSDK::Quote(i_file.name) + " of the job " + std::to_string(i_job.number) +
                                ' ' + TavSDK::Quote(i_job.name) + ' ' + i_words};
    };
    const std::string again = IsFinal(i_job.phase) ? "It can be restored from a backup."
                                                   : "Restore it from a backup, or hand the job in again.";
    if (!i_files.Has(i_file.hash))
        return tell("missing", "is missing. " + again);
    if (!i_is_whole)
        return std::nullopt;
    try {
        if (HashFile(i_files.GetPath(i_file.hash)) == i_file.hash)
            return std::nullopt;
        return tell("damaged", "is damaged. " + again);
    } catch (const TavSDK::FileError& failure) {
        return tell("unreadable", std::string("cannot be read: ") + failure.what() + ". Look after the disk.");
    }
}

std::vector<KeptFile> CollectFiles(const Job& i_job)
{
    std::vector<KeptFile> files;
    // What comes in now is not there yet.
    if (i_job.phase != JobPhase::Incoming)
        files.push_back(i_job.platform);
    for (const auto& file : {i_job.picture, i_job.machineFile}) {
        if (file)
            files.push_back(*file);
    }
    return files;
}

} // namespace

std::vector<StoreFinding> StoreDesk::Check(const Actor& i_actor) const
{
    Impl::Require(i_actor);
    std::vector<StoreFinding> findings;
    for (auto& sentence : _impl->store.Check(true).findings)
        findings.push_back({"store", 0, {}, {}, {}, std::move(sentence)});
    const auto kept = _impl->files.List();
    const auto needed = _impl->store.GetNeededFiles();
    const auto before = std::filesystem::file_time_type::clock::now() - KeptUnneeded;
    for (const auto& file : kept) {
        std::error_code gone;
        const bool isUnneeded = !needed.contains(file.hash) &&
                                std::filesystem::last_write_time(_impl->files.GetPath(file.hash), gone) < before &&
                                !gone;
        if (isUnneeded && findings.size() < MostUnneeded)
            findings.push_back({"unneeded",
                                0,
                                {},
                                {},
                                file.hash,
                                "No job needs this file of " + std::to_string(file.size) +
                                    " bytes; the manager removes it within an hour."});
    }
    return findings;
}

CheckedFiles StoreDesk::CheckFiles(const Actor& i_actor, std::int64_t i_after, bool i_is_whole) const
{
    Impl::Require(i_actor);
    const auto end = std::chrono::steady_clock::now() + LongestLook;
    CheckedFiles checked;
    const JobFilter filter{.isOldestFirst = true, .after = i_after, .count = 500};
    const auto jobs = _impl->store.List(filter);
    for (const Job& job : jobs) {
        for (const KeptFile& file : CollectFiles(job)) {
            ++checked.count;
            if (auto finding = CheckKept(job, file, _impl->files, i_is_whole))
                checked.findings.push_back(std::move(*finding));
        }
        checked.next = job.number;
        if (std::chrono::steady_clock::now() > end)
            return checked;
    }
    if (jobs.size() < static_cast<std::size_t>(filter.count))
        checked.next.reset();
    return checked;
}

} // namespace MachineService::MachineManager
