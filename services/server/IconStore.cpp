#include "server/IconStore.h"

#include "hashing/Sha256.h"
#include "wire/Protocol.h"

#include <algorithm>

namespace MachineService::Server {

std::shared_ptr<const StoredIcon> IconStore::Add(const std::vector<std::uint8_t>& i_bytes)
{
    if (i_bytes.empty() || i_bytes.size() > Wire::MaxIconBytes)
        return nullptr;
    const std::string content(i_bytes.begin(), i_bytes.end());
    const std::string hash = HashOf(content);
    const TavSDK::MutexLock lock(_mutex);
    if (auto known = _icons[hash].lock())
        return known;
    auto icon = std::make_shared<const StoredIcon>(StoredIcon{hash, content});
    _icons[hash] = icon;
    // Machines that change their picture all the time leave nothing behind.
    if (_icons.size() > _nextSweep) {
        std::erase_if(_icons, [](const auto& i_entry) { return i_entry.second.expired(); });
        _nextSweep = std::max<std::size_t>(64, 2 * _icons.size());
    }
    return icon;
}

std::shared_ptr<const StoredIcon> IconStore::Find(const std::string& i_hash) const
{
    const TavSDK::MutexLock lock(_mutex);
    const auto found = _icons.find(i_hash);
    return found == _icons.end() ? nullptr : found->second.lock();
}

} // namespace MachineService::Server
