#include "server/CatalogJournal.h"

#include <utility>

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

void AddNumber(std::uint64_t i_number, std::string& io_bytes)
{
    for (; i_number >= 0x80; i_number >>= 7)
        io_bytes += static_cast<char>(i_number | 0x80);
    io_bytes += static_cast<char>(i_number);
}

/// Of a message in a message, as protobuf writes it: number and kind of the field, and its length.
void AddFieldHeader(int i_field, std::size_t i_size, std::string& io_bytes)
{
    constexpr std::uint64_t message = 2;
    AddNumber(static_cast<std::uint64_t>(i_field) << 3 | message, io_bytes);
    AddNumber(i_size, io_bytes);
}

std::string MakePage(const pb::Machine& i_machine)
{
    pb::SnapshotPage page;
    *page.add_machines() = i_machine;
    return page.SerializeAsString();
}

} // namespace

PublishedMachine::PublishedMachine(const pb::Machine& i_message, std::vector<std::shared_ptr<const StoredIcon>> i_icons)
    : page(MakePage(i_message))
    , icons(std::move(i_icons))
{}

pb::Machine PublishedMachine::Read() const
{
    pb::SnapshotPage read;
    read.ParseFromString(page);
    return std::move(*read.mutable_machines(0));
}

CatalogJournal::CatalogJournal(std::string i_epoch, std::shared_ptr<Bell> ip_bell, Bounds i_bounds)
    : _epoch(std::move(i_epoch))
    , _bell(std::move(ip_bell))
    , _bounds(i_bounds)
{}

void CatalogJournal::_Add(Change i_change)
{
    i_change.revision = ++_revision;
    _changes.push_back(std::move(i_change));
    if (_changes.size() > _bounds.changes)
        _changes.pop_front();
}

void CatalogJournal::Put(const std::string& i_id, std::shared_ptr<const PublishedMachine> ip_machine,
                         std::uint32_t i_changes)
{
    {
        const TavSDK::MutexLock lock(_mutex);
        const auto [entry, isNew] = _machines.try_emplace(i_id, Entry{nullptr, _nextPlace});
        if (isNew)
            _order.emplace(_nextPlace++, i_id);
        Change change;
        change.id = i_id;
        change.machine = ip_machine;
        change.isNew = isNew;
        change.changes = i_changes;
        entry->second.machine = std::move(ip_machine);
        _Add(std::move(change));
    }
    _bell->Ring();
}

void CatalogJournal::Remove(const std::string& i_id)
{
    {
        const TavSDK::MutexLock lock(_mutex);
        const auto entry = _machines.find(i_id);
        if (entry == _machines.end())
            return;
        _order.erase(entry->second.place);
        _machines.erase(entry);
        Change change;
        change.id = i_id;
        _Add(std::move(change));
    }
    _bell->Ring();
}

void CatalogJournal::SetStatus(pb::ServiceStatus i_status)
{
    {
        const TavSDK::MutexLock lock(_mutex);
        if (_status == i_status)
            return;
        _status = i_status;
        Change change;
        change.status = i_status;
        _Add(std::move(change));
    }
    _bell->Ring();
}

void CatalogJournal::SetLoaded()
{
    {
        const TavSDK::MutexLock lock(_mutex);
        _isLoaded = true;
    }
    _bell->Ring();
}

std::shared_ptr<const PublishedMachine> CatalogJournal::Find(const std::string& i_id) const
{
    const TavSDK::MutexLock lock(_mutex);
    const auto found = _machines.find(i_id);
    return found == _machines.end() ? nullptr : found->second.machine;
}

bool CatalogJournal::_MayTellSnapshot() const
{
    return _isLoaded && _status != pb::SERVICE_STATUS_STARTING;
}

CatalogJournal::Reader CatalogJournal::Follow(const std::string& i_epoch, std::uint64_t i_revision)
{
    const TavSDK::MutexLock lock(_mutex);
    // Who has no revision yet has no snapshot either, whatever machines it shows.
    const bool isKnown =
        i_epoch == _epoch && i_revision > 0 && i_revision <= _revision && i_revision + _changes.size() >= _revision;
    return {*this, isKnown ? std::optional(i_revision) : std::nullopt};
}

bool CatalogJournal::Reader::Next(std::string& o_event)
{
    const TavSDK::MutexLock lock(_journal->_mutex);
    if (_step == Step::Changes && _revision + _journal->_changes.size() < _journal->_revision) {
        // So slow that it missed changes: it begins anew.
        _step = Step::Beginning;
    }
    // First of all, and before a snapshot, in whose revision changes of the status are lost.
    if ((!_hasBegun || _step == Step::Beginning) && _journal->_status && _journal->_status != _toldStatus) {
        _hasBegun = true;
        o_event = _TellStatus(*_journal->_status);
        return true;
    }
    _hasBegun = true;
    if (_step == Step::Beginning && _journal->_MayTellSnapshot()) {
        _step = Step::Pages;
        _revision = _journal->_revision;
        _told = 0;
        _pages.clear();
        for (const auto& [place, id] : _journal->_order)
            _pages.push_back(_journal->_machines.at(id).machine);
    }
    if (_step == Step::Pages) {
        o_event = _TellPage();
        return true;
    }
    if (_step != Step::Changes || _revision == _journal->_revision)
        return false;
    o_event = _TellChange(_journal->_changes[_journal->_changes.size() - (_journal->_revision - _revision)]);
    return true;
}

std::string CatalogJournal::Reader::MakeHeartbeat() const
{
    auto event = _MakeEvent();
    event.mutable_heartbeat();
    return event.SerializeAsString();
}

pb::CatalogEvent CatalogJournal::Reader::_MakeEvent() const
{
    pb::CatalogEvent event;
    event.set_epoch(_journal->_epoch);
    event.set_revision(_revision);
    return event;
}

std::string CatalogJournal::Reader::_TellStatus(pb::ServiceStatus i_status)
{
    _toldStatus = i_status;
    auto event = _MakeEvent();
    event.set_status(i_status);
    return event.SerializeAsString();
}

std::string CatalogJournal::Reader::_TellPage()
{
    const auto first = _told;
    std::size_t bytes = 0;
    while (_told < _pages.size() && _told - first < _journal->_bounds.pageMachines) {
        const auto size = _pages[_told]->page.size();
        if (_told > first && bytes + size > _journal->_bounds.pageBytes)
            break;
        bytes += size;
        ++_told;
    }
    pb::SnapshotPage end;
    end.set_is_last(_told == _pages.size());
    const auto ending = end.SerializeAsString();
    // A message is its parts one after the other, in whatever pieces they were written.
    auto event = _MakeEvent().SerializeAsString();
    event.reserve(event.size() + 2 * sizeof(std::uint64_t) + bytes + ending.size());
    AddFieldHeader(pb::CatalogEvent::kSnapshotFieldNumber, bytes + ending.size(), event);
    for (auto index = first; index < _told; ++index)
        event += _pages[index]->page;
    event += ending;
    if (_told == _pages.size()) {
        _pages.clear();
        _step = Step::Changes;
    }
    return event;
}

std::string CatalogJournal::Reader::_TellChange(const Change& i_change)
{
    _revision = i_change.revision;
    if (i_change.id.empty())
        return _TellStatus(i_change.status);
    auto event = _MakeEvent();
    if (!i_change.machine) {
        event.set_removed(i_change.id);
    } else if (i_change.isNew) {
        *event.mutable_added() = i_change.machine->Read();
    } else {
        *event.mutable_updated()->mutable_machine() = i_change.machine->Read();
        event.mutable_updated()->set_changes(i_change.changes);
    }
    return event.SerializeAsString();
}

} // namespace MachineService::Server
