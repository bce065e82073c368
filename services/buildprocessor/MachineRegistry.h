#pragma once

#include "buildprocessor/MachineProfile.h"

#include <boost/uuid/uuid.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace MachineService::BuildProcessor {

/// The machines that the service has at this moment.
///
/// Thread: any. Profiles that were handed out stay as they were.
class MachineRegistry
{
public:
    using ProfilePointer = std::shared_ptr<const DatedProfile>;

    /// What happened between two states, in the order in which it is told.
    struct News
    {
        std::vector<boost::uuids::uuid> removed;
        std::vector<std::pair<boost::uuids::uuid, MachineChanges>> updated;
        std::vector<boost::uuids::uuid> added;
    };

    /// Takes the place of all machines.
    News Replace(std::vector<DatedProfile> i_profiles);
    /// No machine any more, now and later.
    void Close();

    bool IsClosed() const;
    /// Null when there is no such machine.
    ProfilePointer Find(const boost::uuids::uuid& i_id) const;
    /// In the order in which they were given.
    std::vector<ProfilePointer> GetAll() const;

private:
    mutable std::mutex _mutex; ///< guards everything below
    std::map<boost::uuids::uuid, ProfilePointer> _profiles;
    std::vector<boost::uuids::uuid> _order;
    bool _closed = false;
};

} // namespace MachineService::BuildProcessor
