#include "remote/MachineStore.h"

#include <algorithm>

namespace MachineService::Remote {

MachineChanges FindChanges(const StoredMachine& i_old, const StoredMachine& i_new)
{
    auto changes = MachineChanges::None;
    MachineData expected = i_old.data;
    expected.name = i_new.data.name;
    // What it does now is no configuration; that it was seen once more is no news at all.
    expected.state = i_new.data.state;
    expected.stateReasons = i_new.data.stateReasons;
    expected.stateTime = i_new.data.stateTime;
    if (i_old.data.name != i_new.data.name)
        changes = changes | MachineChanges::NameChanged;
    if (expected != i_new.data || i_old.pictureHash != i_new.pictureHash || i_old.others.size() != i_new.others.size())
        changes = changes | MachineChanges::ConfigurationChanged;
    if (i_old.commands != i_new.commands)
        changes = changes | MachineChanges::CommandsChanged;
    if (i_old.data.state != i_new.data.state || i_old.data.stateReasons != i_new.data.stateReasons)
        changes = changes | MachineChanges::StateChanged;
    const auto count = std::min(i_old.others.size(), i_new.others.size());
    for (std::size_t index = 0; index < count; ++index)
        changes = changes | FindChanges(i_old.others[index], i_new.others[index]);
    return changes;
}

void MachineStore::_Put(StoredMachine&& io_machine, MachineChanges i_told, MachineNews& io_news)
{
    const auto id = io_machine.data.id;
    const auto [entry, isNew] = _entries.try_emplace(id);
    auto& known = entry->second;
    known.generation = _generation;
    if (isNew) {
        known.place = _nextPlace++;
        known.machine = std::make_shared<const StoredMachine>(std::move(io_machine));
        _order.emplace_hint(_order.end(), known.place, id);
        io_news.added.push_back(id);
        return;
    }
    const auto changes = i_told | FindChanges(*known.machine, io_machine);
    known.machine = std::make_shared<const StoredMachine>(std::move(io_machine));
    if (changes != MachineChanges::None)
        io_news.updated.emplace_back(id, changes);
}

MachineNews MachineStore::Replace(std::vector<StoredMachine> i_machines, const Position& i_position)
{
    MachineNews news;
    const TavSDK::MutexLock lock(_mutex);
    ++_generation;
    for (StoredMachine& machine : i_machines) {
        // An id that appears twice is one machine: the first.
        const auto known = _entries.find(machine.data.id);
        if (known == _entries.end() || known->second.generation != _generation)
            _Put(std::move(machine), MachineChanges::None, news);
    }
    for (auto place = _order.begin(); place != _order.end();) {
        const auto entry = _entries.find(place->second);
        if (entry->second.generation == _generation) {
            ++place;
            continue;
        }
        news.removed.push_back(place->second);
        _entries.erase(entry);
        place = _order.erase(place);
    }
    _position = i_position;
    return news;
}

MachineNews MachineStore::Put(StoredMachine i_machine, MachineChanges i_told, const Position& i_position)
{
    MachineNews news;
    const TavSDK::MutexLock lock(_mutex);
    _Put(std::move(i_machine), i_told, news);
    _position = i_position;
    return news;
}

MachineNews MachineStore::Remove(const boost::uuids::uuid& i_id, const Position& i_position)
{
    MachineNews news;
    const TavSDK::MutexLock lock(_mutex);
    _position = i_position;
    const auto found = _entries.find(i_id);
    if (found == _entries.end())
        return news;
    _order.erase(found->second.place);
    _entries.erase(found);
    news.removed.push_back(i_id);
    return news;
}

Position MachineStore::GetPosition() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _position;
}

MachineStore::MachinePointer MachineStore::Find(const boost::uuids::uuid& i_id) const
{
    const TavSDK::MutexLock lock(_mutex);
    const auto found = _entries.find(i_id);
    return found == _entries.end() ? nullptr : found->second.machine;
}

std::vector<MachineStore::MachinePointer> MachineStore::GetAll() const
{
    const TavSDK::MutexLock lock(_mutex);
    std::vector<MachinePointer> machines;
    machines.reserve(_order.size());
    for (const auto& [place, id] : _order)
        machines.push_back(_entries.at(id).machine);
    return machines;
}

std::vector<boost::uuids::uuid> MachineStore::GetIds() const
{
    const TavSDK::MutexLock lock(_mutex);
    std::vector<boost::uuids::uuid> ids;
    ids.reserve(_order.size());
    for (const auto& [place, id] : _order)
        ids.push_back(id);
    return ids;
}

} // namespace MachineService::Remote
