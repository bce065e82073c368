#pragma once

#include "tavam/Platform.h"
#include "tavam_export.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace TavAM {

/// What one platform file holds.
class TAVAM_EXPORT Database
{
public:
    std::size_t GetNumPlatforms() const { return _platforms.size(); }
    /// \throws std::out_of_range.
    std::shared_ptr<Platform> GetPlatform(std::size_t i_index) const { return _platforms.at(i_index); }
    void AddPlatform(std::shared_ptr<Platform> ip_platform) { _platforms.push_back(std::move(ip_platform)); }

private:
    std::vector<std::shared_ptr<Platform>> _platforms;
};

} // namespace TavAM
