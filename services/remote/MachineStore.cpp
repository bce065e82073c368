#include "remote/MachineStore.h"

#include <algorithm>
#include <utility>

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

void MachineStore::_Put(MachinePointer&& iop_machine, MachineChanges i_told, MachineNews& io_news)
{
    const auto id = iop_machine->data.id;
    const auto [place, isNew] = _places.try_emplace(id, _entries.size());
    if (isNew) {
        _entries.push_back({id, std::move(iop_machine)});
        io_news.added.push_back(id);
        return;
    }
    auto& known = _entries[place->second].machine;
    const auto changes = i_told | FindChanges(*known, *iop_machine);
    known = std::move(iop_machine);
    if (changes != MachineChanges::None)
        io_news.updated.emplace_back(id, changes);
}

void MachineStore::_Remove(std::size_t i_place, MachineNews& io_news)
{
    Entry& entry = _entries[i_place];
    _places.erase(entry.id);
    entry.machine = nullptr;
    io_news.removed.push_back(entry.id);
}

void MachineStore::_CloseGaps()
{
    // So seldom that many removals, one by one, do not take the longer the more machines there are.
    if (_entries.size() < 2 * _places.size() + 16)
        return;
    std::erase_if(_entries, [](const Entry& i_entry) { return !i_entry.machine; });
    for (std::size_t place = 0; place < _entries.size(); ++place)
        _places[_entries[place].id] = place;
}

MachineNews MachineStore::Replace(std::vector<std::shared_ptr<StoredMachine>> i_machines, const Position& i_position)
{
    MachineNews news;
    const TavSDK::MutexLock lock(_mutex);
    const auto before = _entries.size();
    std::vector<bool> isTold(before);
    if (before == 0) {
        _entries.reserve(i_machines.size());
        _places.reserve(i_machines.size());
        news.added.reserve(i_machines.size());
    }
    for (auto& machine : i_machines) {
        // An id that appears twice is one machine: the first.
        if (const auto known = _places.find(machine->data.id); known != _places.end()) {
            if (known->second >= before || isTold[known->second])
                continue;
            isTold[known->second] = true;
        }
        _Put(std::move(machine), MachineChanges::None, news);
    }
    for (std::size_t place = 0; place < before; ++place) {
        if (_entries[place].machine && !isTold[place])
            _Remove(place, news);
    }
    _CloseGaps();
    _position = i_position;
    return news;
}

MachineNews MachineStore::Put(MachinePointer ip_machine, MachineChanges i_told, const Position& i_position)
{
    MachineNews news;
    const TavSDK::MutexLock lock(_mutex);
    _Put(std::move(ip_machine), i_told, news);
    _position = i_position;
    return news;
}

MachineNews MachineStore::Remove(const boost::uuids::uuid& i_id, const Position& i_position)
{
    MachineNews news;
    const TavSDK::MutexLock lock(_mutex);
    _position = i_position;
    if (const auto found = _places.find(i_id); found != _places.end()) {
        _Remove(found->second, news);
        _CloseGaps();
    }
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
    const auto found = _places.find(i_id);
    return found == _places.end() ? nullptr : _entries[found->second].machine;
}

std::vector<MachineStore::MachinePointer> MachineStore::GetAll() const
{
    const TavSDK::MutexLock lock(_mutex);
    std::vector<MachinePointer> machines;
    machines.reserve(_places.size());
    for (const Entry& entry : _entries) {
        if (entry.machine)
            machines.push_back(entry.machine);
    }
    return machines;
}

std::vector<boost::uuids::uuid> MachineStore::GetIds() const
{
    const TavSDK::MutexLock lock(_mutex);
    std::vector<boost::uuids::uuid> ids;
    ids.reserve(_places.size());
    for (const Entry& entry : _entries) {
        if (entry.machine)
            ids.push_back(entry.id);
    }
    return ids;
}

} // namespace MachineService::Remote
