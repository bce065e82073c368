#include "machinemanager/store/FileStore.h"

#include "hashing/Sha256.h"
#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/FileCalls.h"
#include "machinemanager/store/FileNames.h"
#include "machinemanager/store/UploadHashes.h"

#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Text.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

/// As much as a platform may hold, see tavsdk/ZipBounds.h.
constexpr std::uint64_t LargestFile = 4'000'000'000;
constexpr std::size_t Piece = 1'000'000;
constexpr std::chrono::hours KeptUnneeded{1};
constexpr std::chrono::hours KeptUnfinished{24};

void CheckSize(std::uint64_t i_size)
{
    if (i_size > LargestFile)
        throw ManagerError(Kind::BadInput,
                           "The file has more than " + std::to_string(LargestFile) + " bytes. Hand in a smaller one.");
}

Sha256 HashWhole(const FileDescriptor& i_file, const std::filesystem::path& i_path, std::uint64_t i_size)
{
    Sha256 hash;
    std::vector<char> buffer(Piece);
    for (std::uint64_t place = 0; place < i_size;) {
        const auto count = ::pread(i_file.Get(), buffer.data(), Piece, static_cast<off_t>(place));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            FailStorage(i_path, "cannot be read");
        hash.Add({buffer.data(), static_cast<std::size_t>(count)});
        place += static_cast<std::uint64_t>(count);
    }
    return hash;
}

void CheckHash(const std::string& i_hash)
{
    if (!IsFileHash(i_hash))
        throw ManagerError(Kind::BadInput, "The hash " + TavSDK::Quote(i_hash, 80) +
                                               " is no SHA-256. Tell it as 64 lower-case hexadecimal characters.");
}

} // namespace

struct FileStore::Impl
{
    std::filesystem::path GetUpload(const boost::uuids::uuid& i_upload) const
    {
        return incoming / boost::uuids::to_string(i_upload);
    }
    std::filesystem::path GetFolder(const std::string& i_hash) const { return folder / i_hash.substr(0, 2); }
    std::filesystem::path GetFile(const std::string& i_hash) const { return GetFolder(i_hash) / i_hash; }
    FileDescriptor MakeUpload(const std::filesystem::path& i_path) const;
    void Keep(const FileDescriptor& i_file, const std::filesystem::path& i_path, const std::string& i_hash) const;
    /// The same for what is new as a whole. \param i_fill writes, and tells size and hash.
    KeptFile AddNew(const std::string& i_name,
                    const std::function<KeptFile(const FileDescriptor&, const std::filesystem::path&)>& i_fill) const;
    std::uint64_t SweepFolder(const std::filesystem::path& i_folder, Time i_before,
                              const std::function<bool(const std::string&)>& i_is_needed) const;

    void ForEachFolder(const std::function<void(const std::filesystem::path&)>& i_call) const;

    std::filesystem::path folder;
    std::filesystem::path incoming;
    UploadHashes hashes;
};

FileDescriptor FileStore::Impl::MakeUpload(const std::filesystem::path& i_path) const
{
    FileDescriptor file(::open(i_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.IsOpen())
        FailStorage(i_path, "cannot be opened");
    return file;
}

/// Gives a whole file its name. One that has it already is replaced: it has the same bytes, unless the disk lost some.
void FileStore::Impl::Keep(const FileDescriptor& i_file, const std::filesystem::path& i_path,
                           const std::string& i_hash) const
{
    Sync(i_file, i_path);
    const auto top = OpenFolder(folder);
    // Sweep holds it alone between its look at a file's age and the removal.
    Lock(top, folder, LOCK_SH);
    const auto target = GetFile(i_hash);
    MakeFolder(target.parent_path());
    const auto parent = OpenFolder(target.parent_path());
    // The hour before it may be removed begins now; an upload may have taken longer than that.
    if (::futimens(i_file.Get(), nullptr) != 0)
        FailStorage(i_path, "cannot be changed");
    if (::rename(i_path.c_str(), target.c_str()) != 0)
        FailStorage(target, "cannot get its name");
    Sync(parent, target.parent_path(), true);
    Sync(top, folder, true);
}

KeptFile FileStore::Impl::AddNew(
    const std::string& i_name,
    const std::function<KeptFile(const FileDescriptor&, const std::filesystem::path&)>& i_fill) const
{
    const auto path = GetUpload(boost::uuids::random_generator()());
    const auto file = MakeUpload(path);
    try {
        KeptFile kept = i_fill(file, path);
        kept.name = CleanFileName(i_name);
        Keep(file, path, kept.hash);
        return kept;
    } catch (...) {
        ::unlink(path.c_str());
        throw;
    }
}

FileStore::FileStore(std::filesystem::path i_folder)
    : _impl(std::make_unique<Impl>())
{
    _impl->folder = std::move(i_folder);
    _impl->incoming = _impl->folder / "incoming";
    if (_impl->folder.has_parent_path()) {
        std::error_code error;
        std::filesystem::create_directories(_impl->folder.parent_path(), error);
        if (error)
            FailStorage(_impl->folder.parent_path(), "cannot be made", error.value());
    }
    MakeFolder(_impl->folder);
    MakeFolder(_impl->incoming);
    OpenFolder(_impl->incoming);
}

FileStore::~FileStore() = default;

KeptFile FileStore::Add(const std::filesystem::path& i_source, const std::string& i_name, const std::stop_token& i_stop)
{
    return _impl->AddNew(i_name, [&](const FileDescriptor& i_file, const std::filesystem::path& i_path) {
        try {
            TavSDK::InputFile source(i_source);
            CheckSize(source.GetSize());
            Sha256 hash;
            KeptFile kept;
            std::vector<char> buffer(Piece);
            for (std::size_t count = Piece; count == Piece;) {
                if (i_stop.stop_requested())
                    throw ManagerError(Kind::Conflict, "Taking the file " + TavSDK::Quote(i_name) + " was stopped.");
                count = source.Read(buffer.data(), Piece);
                kept.size += count;
                CheckSize(kept.size);
                hash.Add({buffer.data(), count});
                WriteAll(i_file, i_path, {buffer.data(), count});
            }
            kept.hash = hash.GetHex();
            return kept;
        } catch (const TavSDK::FileError& failure) {
            throw ManagerError(Kind::BadInput, "The file " + ShowFile(i_source) + " cannot be read: " + failure.what() +
                                                   ". Hand in another one.");
        }
    });
}

KeptFile FileStore::AddBytes(std::string_view i_bytes, const std::string& i_name)
{
    CheckSize(i_bytes.size());
    return _impl->AddNew(i_name, [&](const FileDescriptor& i_file, const std::filesystem::path& i_path) {
        Sha256 hash;
        hash.Add(i_bytes);
        WriteAll(i_file, i_path, i_bytes);
        return KeptFile{{}, hash.GetHex(), i_bytes.size()};
    });
}

bool FileStore::Has(const std::string& i_hash) const
{
    return IsFileHash(i_hash) && ::access(_impl->GetFile(i_hash).c_str(), F_OK) == 0;
}

std::filesystem::path FileStore::GetPath(const std::string& i_hash) const
{
    if (!Has(i_hash))
        throw ManagerError(Kind::NotFound, "There is no kept file with the hash " + TavSDK::Quote(i_hash, 80) +
                                               "; it may have been removed. Hand it in again.");
    return _impl->GetFile(i_hash);
}

std::uint64_t FileStore::GetReceived(const boost::uuids::uuid& i_upload) const
{
    struct stat status = {};
    const auto path = _impl->GetUpload(i_upload);
    if (::stat(path.c_str(), &status) == 0)
        return static_cast<std::uint64_t>(status.st_size);
    if (errno != ENOENT)
        FailStorage(path, "cannot be looked at");
    return 0;
}

void FileStore::Receive(const boost::uuids::uuid& i_upload, std::uint64_t i_offset, std::string_view i_bytes,
                        std::uint64_t i_size)
{
    CheckSize(i_size);
    if (i_offset > i_size || i_bytes.size() > i_size - i_offset)
        throw ManagerError(Kind::BadInput, "The upload has more bytes than the " + std::to_string(i_size) +
                                               " that were announced. Begin it again with its true size.");
    const auto path = _impl->GetUpload(i_upload);
    const auto file = _impl->MakeUpload(path);
    // Pieces of one upload come one behind the other, also when the sender repeats itself.
    Lock(file, path, LOCK_EX);
    const auto there = GetSize(file, path);
    if (i_offset > there)
        throw ManagerError(Kind::Conflict, "The upload goes on at " + std::to_string(there) + " bytes, not at " +
                                               std::to_string(i_offset) + ". Send what lies between first.");
    if (::lseek(file.Get(), static_cast<off_t>(i_offset), SEEK_SET) < 0)
        FailStorage(path, "cannot be written");
    auto hash = _impl->hashes.Take(i_upload, file, i_offset);
    if (i_offset == 0)
        hash.emplace();
    try {
        WriteAll(file, path, i_bytes);
    } catch (const ManagerError&) {
        // A half piece is not told as received; where even this fails, the hash tells in the end.
        if (::ftruncate(file.Get(), static_cast<off_t>(i_offset)) != 0)
            ::unlink(path.c_str());
        throw;
    }
    if (hash) {
        hash->Add(i_bytes);
        _impl->hashes.Put(i_upload, std::move(*hash), file, i_offset + i_bytes.size());
    }
}

KeptFile FileStore::Finish(const boost::uuids::uuid& i_upload, const KeptFile& i_announced)
{
    CheckHash(i_announced.hash);
    const auto path = _impl->GetUpload(i_upload);
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
    if (!file.IsOpen() && errno == ENOENT)
        throw ManagerError(Kind::NotFound, "The upload of " + TavSDK::Quote(i_announced.name) +
                                               " was never begun, or was given up. Send the file from its beginning.");
    if (!file.IsOpen())
        FailStorage(path, "cannot be opened");
    Lock(file, path, LOCK_EX);
    const auto refuse = [&](const std::string& i_what) {
        ::unlink(path.c_str());
        throw ManagerError(Kind::BadInput, "The upload of " + TavSDK::Quote(i_announced.name) + ' ' + i_what +
                                               ". Send the file from its beginning.");
    };
    const auto size = GetSize(file, path);
    if (size != i_announced.size)
        refuse("has " + std::to_string(size) + " bytes instead of " + std::to_string(i_announced.size));
    auto hash = _impl->hashes.Take(i_upload, file, size);
    if (!hash)
        hash = HashWhole(file, path, size);
    if (hash->GetHex() != i_announced.hash)
        refuse("has another content than was announced");
    _impl->Keep(file, path, i_announced.hash);
    return {CleanFileName(i_announced.name), i_announced.hash, size};
}

void FileStore::Drop(const boost::uuids::uuid& i_upload)
{
    const auto path = _impl->GetUpload(i_upload);
    _impl->hashes.Drop(i_upload);
    if (::unlink(path.c_str()) != 0 && errno != ENOENT)
        FailStorage(path, "cannot be removed");
}

std::uint64_t FileStore::Impl::SweepFolder(const std::filesystem::path& i_folder, Time i_before,
                                           const std::function<bool(const std::string&)>& i_is_needed) const
{
    const auto top = OpenFolder(folder);
    std::uint64_t freed = 0;
    std::error_code error;
    std::filesystem::directory_iterator entry(i_folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const auto& path = entry->path();
        if (i_is_needed(path.filename().string()))
            continue;
        // Who adds the same file just now waits, and then puts it there again.
        Lock(top, folder, LOCK_EX);
        struct stat status = {};
        const bool isThere = ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        const Time changed(std::chrono::seconds(status.st_mtim.tv_sec) +
                           std::chrono::milliseconds(status.st_mtim.tv_nsec / 1'000'000));
        if (isThere && changed < i_before) {
            if (::unlink(path.c_str()) != 0 && errno != ENOENT)
                FailStorage(path, "cannot be removed");
            freed += static_cast<std::uint64_t>(status.st_size);
        }
        Lock(top, folder, LOCK_UN);
    }
    if (error)
        FailStorage(i_folder, "cannot be listed", error.value());
    return freed;
}

void FileStore::Impl::ForEachFolder(const std::function<void(const std::filesystem::path&)>& i_call) const
{
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (entry->path().filename().native().size() == 2)
            i_call(entry->path());
    }
    if (error)
        FailStorage(folder, "cannot be listed", error.value());
}

std::vector<KeptFile> FileStore::List() const
{
    std::vector<KeptFile> files;
    _impl->ForEachFolder([&](const std::filesystem::path& i_folder) {
        std::error_code error;
        std::filesystem::directory_iterator entry(i_folder, error);
        for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
            std::error_code gone;
            const auto name = entry->path().filename().native();
            const auto size = entry->file_size(gone);
            if (!gone && IsFileHash(name))
                files.push_back({{}, name, size});
        }
        if (error)
            FailStorage(i_folder, "cannot be listed", error.value());
    });
    return files;
}

std::shared_ptr<void> FileStore::Hold() const
{
    // Who sweeps has it alone.
    const auto file = std::make_shared<FileDescriptor>(OpenFolder(_impl->incoming));
    Lock(*file, _impl->incoming, LOCK_SH);
    return file;
}

const std::filesystem::path& FileStore::GetFolder() const
{
    return _impl->folder;
}

std::uint64_t FileStore::Sweep(const std::function<std::set<std::string>()>& i_get_needed, Time i_now)
{
    const auto hold = OpenFolder(_impl->incoming);
    // What is held now is swept the next time.
    if (::flock(hold.Get(), LOCK_EX | LOCK_NB) != 0)
        return 0;
    const auto needed = i_get_needed();
    std::uint64_t freed =
        _impl->SweepFolder(_impl->incoming, i_now - KeptUnfinished, [](const std::string&) { return false; });
    _impl->ForEachFolder([&](const std::filesystem::path& i_folder) {
        freed += _impl->SweepFolder(i_folder, i_now - KeptUnneeded,
                                    [&](const std::string& i_hash) { return needed.contains(i_hash); });
    });
    return freed;
}

std::uint64_t FileStore::GetDiskUse() const
{
    std::uint64_t size = 0;
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(_impl->folder, error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code gone; // swept or renamed meanwhile
        if (entry.depth() == 0 && entry->path().filename() == SetAsideFolder) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file(gone)) {
            const auto bytes = entry->file_size(gone);
            size += gone ? 0 : bytes;
        }
    }
    if (error)
        FailStorage(_impl->folder, "cannot be listed", error.value());
    return size;
}

} // namespace MachineService::MachineManager
