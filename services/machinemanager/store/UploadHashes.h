#pragma once

#include "hashing/Sha256.h"
#include "machinemanager/store/FileDescriptor.h"
#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <map>
#include <optional>

#include <sys/stat.h>

namespace MachineService::MachineManager {

/// Hashes of uploads that come in piece by piece, so that what was received need not be read once more.
///
/// A hash is good as long as nobody else wrote to the file since: each keeps the file's time, which is set anew, to the
/// nanosecond, when it is put here.
///
/// Thread: any, several at a time; whoever takes and puts has the upload's file locked.
class UploadHashes
{
public:
    /// \param i_count of bytes from the beginning that the hash has to be of.
    /// \return empty when there is none that is good; it is no longer here either way.
    std::optional<Sha256> Take(const boost::uuids::uuid& i_upload, const FileDescriptor& i_file, std::uint64_t i_count);
    /// One that cannot be kept is dropped.
    void Put(const boost::uuids::uuid& i_upload, Sha256 i_hash, const FileDescriptor& i_file, std::uint64_t i_count);
    void Drop(const boost::uuids::uuid& i_upload);

private:
    struct Entry
    {
        Sha256 hash;
        std::uint64_t count;
        struct stat status;
    };

    TavSDK::Mutex _mutex; ///< guards _entries
    std::map<boost::uuids::uuid, Entry> _entries TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::MachineManager
