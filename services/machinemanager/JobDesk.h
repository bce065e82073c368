#pragma once

#include "machinemanager/jobs/Job.h"
#include "machinemanager/jobs/ManagerError.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

class FileStore;
class JobStore;
class MachineBoard;
class StoreDesk;

/// Bytes of a platform file; as much as one may hold, see tavsdk/ZipBounds.h.
constexpr std::uint64_t LargestPlatform = 4'000'000'000;

/// What somebody may do.
enum class Role
{
    None,
    See,
    Submit,  ///< and do with their own jobs what they like
    Operate, ///< everything
};

/// Who asks.
struct Actor
{
    std::string name;
    Role role = Role::None;
};

/// A machine as people see it.
struct MachineView
{
    MachineEntry entry;
    bool isOffered = false;           ///< by its service, now
    std::string state;                ///< "idle", "processing" or "stopped", as the Internet Printing Protocol says
    std::vector<std::string> reasons; ///< sentences; why it takes no job
    std::int64_t waiting = 0;         ///< jobs for the machine itself
    std::optional<Job> current;
};

/// Why a machine does, or does not, get a job: the first check that fails.
struct Candidate
{
    boost::uuids::uuid machine = {};
    std::string name;
    std::string refusal;            ///< a sentence; empty: it fits
    bool canBeAcknowledged = false; ///< somebody may say that it will do nevertheless
};

/// What is done with a job by people.
enum class JobAction
{
    Hold,
    Release,
    Cancel,
    StartAgain,  ///< nothing was started: it waits again
    ConfirmDone, ///< it is printed
    Acknowledge, ///< what is loaded will do
};

/// Everything that people and hosts do with jobs and machines, with the rights that it takes: the one door to the
/// manager for catalog, interface and page.
///
/// Thread: any, several at a time.
/// Ownership: store, files and board are not owned.
/// Errors: ManagerError; Forbidden when the actor's role does not allow it.
class JobDesk
{
public:
    /// \param i_board knows the machines that jobs are carried out on.
    JobDesk(JobStore& io_store, FileStore& io_files, const MachineBoard& i_board,
            std::uint64_t i_largest_platform = LargestPlatform);
    ~JobDesk();
    JobDesk(const JobDesk&) = delete;
    JobDesk& operator=(const JobDesk&) = delete;

    // Jobs.

    /// Takes a job and the file that is its platform. What the platform says of itself (needs, estimates) is read from
    /// the file.
    Job Submit(const Actor& i_actor, NewJob i_job, const std::filesystem::path& i_platform);
    /// Announces a job whose platform file comes in pieces; its size and hash are told. Twice is harmless.
    Job Announce(const Actor& i_actor, NewJob i_job);
    /// \return bytes that are there now.
    std::uint64_t Receive(const Actor& i_actor, const boost::uuids::uuid& i_id, std::uint64_t i_offset,
                          std::string_view i_bytes);
    std::uint64_t GetReceived(const Actor& i_actor, const boost::uuids::uuid& i_id) const;
    /// The last piece is there.
    /// \throws ManagerError BadInput: the job waits for the file from its beginning then.
    Job FinishUpload(const Actor& i_actor, const boost::uuids::uuid& i_id);

    Job Get(const Actor& i_actor, const boost::uuids::uuid& i_id) const;
    /// \param i_word the id, or the number.
    Job Find(const Actor& i_actor, const std::string& i_word) const;
    std::vector<Job> List(const Actor& i_actor, const JobFilter& i_filter) const;
    std::int64_t Count(const Actor& i_actor, const JobFilter& i_filter) const;
    std::map<JobState, std::int64_t> CountStates(const Actor& i_actor) const;
    std::vector<HistoryEntry> GetHistory(const Actor& i_actor, const boost::uuids::uuid& i_id) const;
    std::vector<Candidate> GetCandidates(const Actor& i_actor, const boost::uuids::uuid& i_id) const;

    enum class FileKind
    {
        Platform,
        MachineFile,
        Picture,
    };
    /// \throws ManagerError NotFound when the job has no such file.
    std::pair<KeptFile, std::filesystem::path> GetFile(const Actor& i_actor, const boost::uuids::uuid& i_id,
                                                       FileKind i_kind) const;

    Job Act(const Actor& i_actor, const boost::uuids::uuid& i_id, JobAction i_action,
            std::optional<std::uint64_t> i_version = std::nullopt);
    /// To another machine, or group. Not once a machine works on it.
    Job Move(const Actor& i_actor, const boost::uuids::uuid& i_id, const JobTarget& i_target,
             std::optional<std::uint64_t> i_version = std::nullopt);
    Job SetPriority(const Actor& i_actor, const boost::uuids::uuid& i_id, int i_priority,
                    std::optional<std::uint64_t> i_version = std::nullopt);
    /// Before another job of its queue; nil: behind all.
    Job PlaceBefore(const Actor& i_actor, const boost::uuids::uuid& i_id, const boost::uuids::uuid& i_other);
    /// A new job of the same platform; of a final job that is a reprint.
    Job Copy(const Actor& i_actor, const boost::uuids::uuid& i_id, const boost::uuids::uuid& i_new_id);

    // Machines.

    std::vector<MachineView> GetMachines(const Actor& i_actor) const;
    MachineView GetMachine(const Actor& i_actor, const boost::uuids::uuid& i_id) const;
    /// \param i_word id or name, or the only one that begins so.
    MachineView FindMachine(const Actor& i_actor, const std::string& i_word) const;
    MachineView SetPaused(const Actor& i_actor, const boost::uuids::uuid& i_id, bool i_is_paused,
                          const std::string& i_reason);
    MachineView SetLoaded(const Actor& i_actor, const boost::uuids::uuid& i_id, const LoadedMaterial& i_loaded);
    /// \param i_printer JSON; empty: nothing takes its machine files.
    MachineView SetPrinter(const Actor& i_actor, const boost::uuids::uuid& i_id, const std::string& i_printer);

    /// As JobStore::Subscribe.
    std::shared_ptr<void> Subscribe(std::function<void(const boost::uuids::uuid& i_job)> i_slot);
    std::uint64_t GetDiskUse(const Actor& i_actor) const;
    Time Now() const;
    /// Store and files as a whole.
    StoreDesk& GetStoreDesk() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
