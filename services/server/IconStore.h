#pragma once

#include "tavsdk/Mutex.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MachineService::Server {

struct StoredIcon
{
    std::string hash; ///< SHA-256, 32 bytes
    std::string content;
};

/// The icons and pictures of the machines that are told at this moment, each once.
///
/// Thread: any.
/// Ownership: an icon goes with the last machine that has it.
class IconStore
{
public:
    /// Null for none, and for one that is longer than the protocol lets it be.
    std::shared_ptr<const StoredIcon> Add(const std::vector<std::uint8_t>& i_bytes);
    /// Null when no machine has it.
    std::shared_ptr<const StoredIcon> Find(const std::string& i_hash) const;

private:
    mutable TavSDK::Mutex _mutex; ///< guards _icons and _nextSweep
    std::map<std::string, std::weak_ptr<const StoredIcon>> _icons TAVSDK_GUARDED_BY(_mutex);
    std::size_t _nextSweep TAVSDK_GUARDED_BY(_mutex) = 64;
};

} // namespace MachineService::Server
