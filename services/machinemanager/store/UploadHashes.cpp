#include "machinemanager/store/UploadHashes.h"

#include <array>
#include <ctime>
#include <utility>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostEntries = 1'000;

bool IsSame(const timespec& i_one, const timespec& i_other)
{
    return i_one.tv_sec == i_other.tv_sec && i_one.tv_nsec == i_other.tv_nsec;
}

} // namespace

std::optional<Sha256> UploadHashes::Take(const boost::uuids::uuid& i_upload, const FileDescriptor& i_file,
                                         std::uint64_t i_count)
{
    const TavSDK::MutexLock lock(_mutex);
    const auto entry = _entries.extract(i_upload);
    struct stat status = {};
    if (entry.empty() || entry.mapped().count != i_count || ::fstat(i_file.Get(), &status) != 0)
        return std::nullopt;
    const auto& known = entry.mapped().status;
    const bool isUntouched =
        known.st_ino == status.st_ino && known.st_size == status.st_size && IsSame(known.st_mtim, status.st_mtim);
    return isUntouched ? std::optional(std::move(entry.mapped().hash)) : std::nullopt;
}

void UploadHashes::Put(const boost::uuids::uuid& i_upload, Sha256 i_hash, const FileDescriptor& i_file,
                       std::uint64_t i_count)
{
    // The system's own times of files stand still for some milliseconds.
    std::array<timespec, 2> times = {timespec{0, UTIME_OMIT}, timespec{}};
    struct stat status = {};
    if (::clock_gettime(CLOCK_REALTIME, &times[1]) != 0 || ::futimens(i_file.Get(), times.data()) != 0 ||
        ::fstat(i_file.Get(), &status) != 0)
        return;
    const TavSDK::MutexLock lock(_mutex);
    if (_entries.size() >= MostEntries)
        _entries.erase(_entries.begin());
    _entries.insert_or_assign(i_upload, Entry{std::move(i_hash), i_count, status});
}

void UploadHashes::Drop(const boost::uuids::uuid& i_upload)
{
    const TavSDK::MutexLock lock(_mutex);
    _entries.erase(i_upload);
}

} // namespace MachineService::MachineManager
