#pragma once

#include "hosting/jobs/JobsError.h"
#include "hosting/jobs/JobsTypes.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace Hosting {

/// Where the user's own Machine Manager is reached: unix:PATH.
/// \throws HostingError when there is no folder for sockets that is the user's alone.
std::string GetOwnManagerAddress();

/// An id for a new job.
std::string MakeJobId();

/// As the manager calls it, among the actions of a job too: "start-again".
const char* GetKeyword(Jobs::Action i_action);

/// Asks a Machine Manager, and tells it what to do: /api/v1 of docs/manager-api.yaml.
///
///     const JobsClient client(GetOwnManagerAddress());
///     auto job = client.Submit({.id = MakeJobId(), .name = "Box", .target = {.machine = id}}, "box.TavAMX");
///     while (!job.IsFinal())
///         job = client.WaitForChange(job, std::chrono::hours(1));
///
/// Words for jobs are ids or numbers; those for machines are ids, names, or the beginning of only one name.
///
/// Thread: any, several at a time. Every call waits for the manager; never on a UI thread.
/// Errors: JobsError; Interruption (hosting/InterruptWatcher.h) soon after the token asks.
class JobsClient
{
public:
    using Progress = std::function<void(std::uint64_t i_done, std::uint64_t i_all)>; ///< bytes

    /// \param i_address unix:PATH or https://HOST:PORT.
    /// \param i_token lets in over https; the certificate's authority is one of the system's, or of SSL_CERT_FILE.
    explicit JobsClient(const std::string& i_address, const std::string& i_token = {}, std::stop_token i_stop = {});
    ~JobsClient();
    JobsClient(const JobsClient&) = delete;
    JobsClient& operator=(const JobsClient&) = delete;

    // Jobs.

    Jobs::JobPage List(const Jobs::Filter& i_filter) const;
    Jobs::Job GetJob(const std::string& i_word) const;
    std::vector<Jobs::HistoryEntry> GetHistory(const std::string& i_word) const;
    std::vector<Jobs::Candidate> GetCandidates(const std::string& i_word) const;
    /// Of the page at a job; it lets a browser in once, within an hour.
    std::string MakePageAddress(const std::string& i_word) const;

    /// Hands a job in with its platform file. What breaks on the way goes on where it broke; the same id once more goes
    /// on with what another call, or another program, began.
    Jobs::Job Submit(const Jobs::NewJob& i_job, const std::filesystem::path& i_platform,
                     const Progress& i_progress = {}) const;
    /// Gets a file of a job, which has its name when it is whole and what the manager keeps; what had the name before
    /// is replaced.
    void Download(const std::string& i_word, Jobs::FileKind i_kind, const std::filesystem::path& i_target,
                  const Progress& i_progress = {}) const;

    Jobs::Job Act(const std::string& i_word, Jobs::Action i_action) const;
    Jobs::Job Move(const std::string& i_word, const Jobs::Target& i_target) const;
    /// \param i_priority 1 to 100.
    Jobs::Job SetPriority(const std::string& i_word, int i_priority) const;
    /// \param i_new_id of the copy; the same id is the same copy.
    Jobs::Job Copy(const std::string& i_word, const std::string& i_new_id) const;

    // Machines.

    std::vector<Jobs::Machine> GetMachines() const;
    Jobs::Machine GetMachine(const std::string& i_word) const;
    Jobs::Machine Pause(const std::string& i_word, const std::string& i_reason) const;
    Jobs::Machine Resume(const std::string& i_word) const;
    /// What is not told is not known from then on.
    Jobs::Machine SetLoaded(const std::string& i_word, const Jobs::Loaded& i_loaded) const;
    /// \param i_printer a JSON object; empty: nothing takes the machine files.
    Jobs::Machine SetPrinter(const std::string& i_word, const std::string& i_printer) const;

    // Store and files as a whole, for operators.

    /// Until EndBackup, and for an hour without a call at most, the manager removes no file.
    Jobs::BackupContents BeginBackup() const;
    void EndBackup(const std::string& i_id) const;
    std::vector<Jobs::StoredFile> ListFiles() const;
    /// \param i_take gets the bytes in their order, each once.
    /// \return false when they are not those that the file's SHA-256 says.
    bool FetchFile(const Jobs::StoredFile& i_file, const std::function<void(std::string_view)>& i_take) const;
    /// \param i_read gives the next piece of the file, of at most 16 MiB; an empty one at its end.
    void SendFile(const Jobs::StoredFile& i_file, const std::function<std::string()>& i_read) const;
    /// Puts a backup in the place of all jobs, whose store and files were sent.
    Jobs::Restored Restore(const std::string& i_store, bool i_may_replace, bool i_may_lack_files) const;
    std::vector<Jobs::Finding> CheckStore() const;
    /// \param i_after CheckedFiles::next of the call before; 0: the first. \param i_is_whole reads the files.
    Jobs::CheckedFiles CheckFiles(std::int64_t i_after, bool i_is_whole) const;

    // The manager.

    Jobs::Information GetInformation() const;
    /// Tells of changes until i_take returns false or the time is over. Begins with All, which comes again whenever
    /// something may have been missed: after a break, and now and then where the manager has too many listeners.
    /// \return false when the time was over.
    bool Listen(const std::function<bool(const Jobs::Change&)>& i_take, std::chrono::milliseconds i_longest) const;
    /// The job as soon as it is of another version than the given one, or as it is when the time is over.
    Jobs::Job WaitForChange(const Jobs::Job& i_job, std::chrono::milliseconds i_longest) const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace Hosting
