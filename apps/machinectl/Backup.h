#pragma once

#include "hosting/jobs/JobsTypes.h"

#include <QString>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

namespace MachineCtl {

// A backup is a folder, or the same as a tar archive: files/XX/SHA256 for the store and each file of a job, and
// contents.json, which comes last: what lacks it is not whole.

inline constexpr const char* ContentsName = "contents.json";

/// Where a backup is written. What it replaces stays until Commit().
///
/// Thread: one.
/// Errors: HostingError with the name of the file.
class IBackupWriter
{
public:
    virtual ~IBackupWriter() = default;
    /// Need the file not come once more?
    virtual bool Has(const Hosting::Jobs::StoredFile& i_file) const = 0;
    virtual void Begin(const Hosting::Jobs::StoredFile& i_file) = 0;
    virtual void Write(std::string_view i_bytes) = 0;
    /// \param i_is_good the bytes are what the name says.
    virtual void End(bool i_is_good) = 0;
    virtual void Commit(const Hosting::Jobs::BackupContents& i_contents) = 0;
};

/// Reads a backup.
///
/// Thread: one.
/// Errors: HostingError with the name of the file.
class IBackupReader
{
public:
    /// \param i_name path within the backup. \param i_read gives the next piece; an empty one at the end.
    using Take = std::function<void(const std::string& i_name, std::uint64_t i_size,
                                    const std::function<std::string()>& i_read)>;

    virtual ~IBackupReader() = default;
    /// Each file once, in their order; any number of times.
    virtual void ForEach(const Take& i_take) const = 0;
};

/// An archive that is new, or a folder that is: one that ends with a slash, is there and empty, or holds an earlier
/// backup.
std::unique_ptr<IBackupWriter> MakeBackupWriter(const std::filesystem::path& i_target);
std::unique_ptr<IBackupReader> OpenBackup(const std::filesystem::path& i_source);

/// Reads all of a backup, before anything is done with it.
/// \param i_progress told of bytes.
/// \throws HostingError when it is not whole, damaged, or of a newer version; Interruption.
Hosting::Jobs::BackupContents CheckBackup(const IBackupReader& i_reader, const std::filesystem::path& i_source,
                                          const std::function<void(std::uint64_t)>& i_progress,
                                          const std::stop_token& i_stop);

/// "files/ab/abcd…"
std::string MakePartName(const std::string& i_sha256);
/// The other way; empty when it is no such name.
std::string FindHash(const std::string& i_part_name);

/// Makers of one kind each.
std::unique_ptr<IBackupWriter> MakeFolderWriter(const std::filesystem::path& i_folder);
std::unique_ptr<IBackupReader> MakeFolderReader(const std::filesystem::path& i_folder);
std::unique_ptr<IBackupWriter> MakeArchiveWriter(const std::filesystem::path& i_file);
std::unique_ptr<IBackupReader> MakeArchiveReader(const std::filesystem::path& i_file);

/// Between quotation marks.
QString ShowBackupPath(const std::filesystem::path& i_path);

} // namespace MachineCtl
