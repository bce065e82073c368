#include "buildprocessor/MachineRegistry.h"

namespace MachineService::BuildProcessor {

MachineRegistry::News MachineRegistry::Replace(std::vector<DatedProfile> i_profiles)
{
    News news;
    const std::lock_guard lock(_mutex);
    if (_closed)
        return news;
    std::map<boost::uuids::uuid, ProfilePointer> profiles;
    std::vector<boost::uuids::uuid> order;
    for (DatedProfile& dated : i_profiles) {
        const auto id = dated.profile.id;
        const auto known = _profiles.find(id);
        const auto changes = known == _profiles.end() ? MachineChanges::None : FindChanges(*known->second, dated);
        if (known == _profiles.end())
            news.added.push_back(id);
        else if (changes != MachineChanges::None)
            news.updated.emplace_back(id, changes);
        const bool keeps = known != _profiles.end() && changes == MachineChanges::None;
        profiles.emplace(id, keeps ? known->second : std::make_shared<const DatedProfile>(std::move(dated)));
        order.push_back(id);
    }
    for (const auto& [id, profile] : _profiles) {
        if (!profiles.contains(id))
            news.removed.push_back(id);
    }
    _profiles = std::move(profiles);
    _order = std::move(order);
    return news;
}

void MachineRegistry::Close()
{
    const std::lock_guard lock(_mutex);
    _closed = true;
    _profiles.clear();
    _order.clear();
}

bool MachineRegistry::IsClosed() const
{
    const std::lock_guard lock(_mutex);
    return _closed;
}

MachineRegistry::ProfilePointer MachineRegistry::Find(const boost::uuids::uuid& i_id) const
{
    const std::lock_guard lock(_mutex);
    const auto found = _profiles.find(i_id);
    return found == _profiles.end() ? nullptr : found->second;
}

std::vector<MachineRegistry::ProfilePointer> MachineRegistry::GetAll() const
{
    const std::lock_guard lock(_mutex);
    std::vector<ProfilePointer> profiles;
    profiles.reserve(_order.size());
    for (const auto& id : _order)
        profiles.push_back(_profiles.at(id));
    return profiles;
}

} // namespace MachineService::BuildProcessor
