#pragma once

#include "client/interface/MachinePicture.h"
#include "tavsdk/Mutex.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace MachineService::Remote {

/// Icons and pictures by their SHA-256, each kept once.
///
/// Thread: any.
class IconStore
{
public:
    /// Of these, the ones that are to be asked for: neither there nor asked for in vain before.
    std::vector<std::string> TakeMissing(const std::set<std::string>& i_hashes);
    /// Takes an icon in.
    /// \return false when it is not what its hash says, too large, or one too many.
    bool Add(const std::string& i_hash, const std::string& i_content);
    /// Empty when it is not there.
    MachinePicture Find(const std::string& i_hash) const;
    /// Forgets what is not named here, and what was asked for in vain.
    void KeepOnly(const std::set<std::string>& i_hashes);
    /// What was asked for and did not come may be asked for again.
    void ForgetQuestions();

private:
    mutable TavSDK::Mutex _mutex; ///< guards everything below
    std::map<std::string, MachinePicture> _icons TAVSDK_GUARDED_BY(_mutex);
    std::set<std::string> _asked TAVSDK_GUARDED_BY(_mutex);
    std::size_t _bytes TAVSDK_GUARDED_BY(_mutex) = 0;
};

} // namespace MachineService::Remote
