#pragma once

#include "machinemanager/jobs/Job.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace MachineService::MachineManager {

/// Files by the SHA-256 of their content: what has its name is whole and on the disk.
///
/// Thread: any, several at a time.
/// Errors: ManagerError BadInput, Conflict, NotFound, Storage; a file that could not be taken leaves nothing.
class FileStore
{
public:
    /// Makes the folder, for its owner alone.
    explicit FileStore(std::filesystem::path i_folder);
    ~FileStore();
    FileStore(const FileStore&) = delete;
    FileStore& operator=(const FileStore&) = delete;

    /// Takes a copy. \param i_name for people.
    KeptFile Add(const std::filesystem::path& i_source, const std::string& i_name, const std::stop_token& i_stop = {});
    KeptFile AddBytes(std::string_view i_bytes, const std::string& i_name);
    bool Has(const std::string& i_hash) const;
    /// Where it is, for reading.
    /// \throws ManagerError NotFound.
    std::filesystem::path GetPath(const std::string& i_hash) const;

    // Uploads come in pieces and may go on after an interruption, also one of this program.

    /// How many bytes of an upload are there; 0 for one that nobody began.
    std::uint64_t GetReceived(const boost::uuids::uuid& i_upload) const;
    /// \param i_offset where the piece belongs: not behind what is there (Conflict); what is there is overwritten.
    /// \param i_size that the whole is to have; more is refused (BadInput).
    void Receive(const boost::uuids::uuid& i_upload, std::uint64_t i_offset, std::string_view i_bytes,
                 std::uint64_t i_size);
    /// Makes it a file.
    /// \throws ManagerError BadInput when size or hash are others than announced; the upload is gone
    /// then.
    KeptFile Finish(const boost::uuids::uuid& i_upload, const KeptFile& i_announced);
    void Drop(const boost::uuids::uuid& i_upload);

    /// What is kept, in any order; without names.
    std::vector<KeptFile> List() const;
    /// As long as what is returned is there, no daemon at this folder sweeps it. Held from before a file is added, or
    /// is looked for, until a job needs it.
    std::shared_ptr<void> Hold() const;
    const std::filesystem::path& GetFolder() const;

    /// Removes the files that are not needed and were not added within the last hour, and uploads that nobody went on
    /// with for a day; nothing while somebody holds the folder. \param i_get_needed asked when nobody holds it any
    /// more. \return bytes that are free now.
    std::uint64_t Sweep(const std::function<std::set<std::string>()>& i_get_needed, Time i_now);
    /// Without what was set aside.
    std::uint64_t GetDiskUse() const;
    /// Folder below this one for what somebody set aside; swept by nobody.
    static constexpr const char* SetAsideFolder = "set-aside";

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
