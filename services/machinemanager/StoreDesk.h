#pragma once

#include "machinemanager/JobDesk.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

/// A copy of the whole store, of one moment, and the files that its jobs have.
struct BackupContents
{
    boost::uuids::uuid id = {};
    Time made = {};
    std::int64_t jobs = 0;
    KeptFile store;                   ///< kept as a file like the others
    std::vector<KeptFile> files;      ///< without names
    std::vector<std::string> missing; ///< hashes of files that jobs have and that are not there
};

/// JSON, as docs/machine-manager.md describes contents.json.
std::string WriteContents(const BackupContents& i_contents);

/// What is wrong with the store, or with a file.
struct StoreFinding
{
    const char* kind = "";   ///< "store", "missing", "damaged", "unreadable"; "unneeded" is no fault
    std::int64_t number = 0; ///< of the job; 0: of none
    std::string job;         ///< its name
    std::string file;        ///< its name; may be empty
    std::string hash;        ///< of the file
    std::string detail;      ///< a sentence
};

/// Some of the files were looked at.
struct CheckedFiles
{
    std::vector<StoreFinding> findings;
    std::int64_t count = 0;           ///< of the files
    std::optional<std::int64_t> next; ///< number of the last job; absent: there are no more
};

/// Which backup is restored, and how.
struct RestoreRequest
{
    std::string store; ///< hash of its BackupContents::store; that and its files are kept already
    bool mayReplace = false;
    bool mayLackFiles = false;
};

struct RestoreOutcome
{
    std::int64_t jobs = 0;
    std::int64_t held = 0;       ///< waited when the backup was made, and now wait for somebody to release them
    std::filesystem::path aside; ///< folder of what was there before, a backup itself; empty: nothing was
};

/// What is done with store and files as a whole, while the manager runs: backup, restore and check.
///
/// Thread: any, several at a time.
/// Ownership: store and files are not owned.
/// Errors: ManagerError; Forbidden without Role::Operate.
class StoreDesk
{
public:
    StoreDesk(JobStore& io_store, FileStore& io_files);
    ~StoreDesk();
    StoreDesk(const StoreDesk&) = delete;
    StoreDesk& operator=(const StoreDesk&) = delete;

    /// From now until EndBackup no file is removed, and for an hour after the last call at most.
    BackupContents BeginBackup(const Actor& i_actor);
    /// Of one that has ended already it is harmless.
    void EndBackup(const Actor& i_actor, const boost::uuids::uuid& i_id);
    /// Ends those that nobody went on with.
    void EndOldBackups();

    std::vector<KeptFile> ListFiles(const Actor& i_actor) const;
    std::pair<KeptFile, std::filesystem::path> GetFile(const Actor& i_actor, const std::string& i_hash) const;
    /// A piece of a file; the file is kept as soon as all of it is there. Pieces may come again.
    /// \return bytes that are there now.
    std::uint64_t ReceiveFile(const Actor& i_actor, const KeptFile& i_file, std::uint64_t i_offset,
                              std::string_view i_bytes);

    /// What was there is set aside before, in a folder below that of the files.
    RestoreOutcome Restore(const Actor& i_actor, const RestoreRequest& i_request);

    /// The store itself, and files that no job needs.
    std::vector<StoreFinding> Check(const Actor& i_actor) const;
    /// The files of jobs, as many as take a few seconds.
    /// \param i_after CheckedFiles::next of the call before; 0: the first. \param i_is_whole reads them all.
    CheckedFiles CheckFiles(const Actor& i_actor, std::int64_t i_after, bool i_is_whole) const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
