#include "remote/IconStore.h"

#include "hashing/Sha256.h"
#include "wire/Protocol.h"

namespace MachineService::Remote {

namespace {

constexpr std::size_t HashBytes = 32;
/// Of everything, whatever a service sends.
constexpr std::size_t MaxAllBytes = 64 * 1024 * 1024;
constexpr std::size_t MaxCount = 20'000;

} // namespace

std::vector<std::string> IconStore::TakeMissing(const std::set<std::string>& i_hashes)
{
    std::vector<std::string> missing;
    const TavSDK::MutexLock lock(_mutex);
    for (const auto& hash : i_hashes) {
        if (hash.size() == HashBytes && !_icons.contains(hash) && _icons.size() + _asked.size() < MaxCount &&
            _asked.insert(hash).second)
            missing.push_back(hash);
    }
    return missing;
}

bool IconStore::Add(const std::string& i_hash, const std::string& i_content)
{
    if (i_content.empty() || i_content.size() > Wire::MaxIconBytes || HashOf(i_content) != i_hash)
        return false;
    const TavSDK::MutexLock lock(_mutex);
    if (_icons.contains(i_hash))
        return true;
    if (_bytes + i_content.size() > MaxAllBytes || _icons.size() >= MaxCount)
        return false;
    _icons.emplace(i_hash, MachinePicture({i_content.begin(), i_content.end()}));
    _asked.erase(i_hash);
    _bytes += i_content.size();
    return true;
}

MachinePicture IconStore::Find(const std::string& i_hash) const
{
    const TavSDK::MutexLock lock(_mutex);
    const auto found = _icons.find(i_hash);
    return found == _icons.end() ? MachinePicture() : found->second;
}

void IconStore::KeepOnly(const std::set<std::string>& i_hashes)
{
    const TavSDK::MutexLock lock(_mutex);
    _asked.clear();
    for (auto icon = _icons.begin(); icon != _icons.end();) {
        if (i_hashes.contains(icon->first)) {
            ++icon;
            continue;
        }
        _bytes -= icon->second.GetBytes().size();
        icon = _icons.erase(icon);
    }
}

void IconStore::ForgetQuestions()
{
    const TavSDK::MutexLock lock(_mutex);
    _asked.clear();
}

} // namespace MachineService::Remote
