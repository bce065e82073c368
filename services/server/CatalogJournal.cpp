#include "server/CatalogJournal.h"

#include <utility>

namespace MachineService::Server {

namespace pb = Wire::pb;

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

bool CatalogJournal::Reader::Next(pb::CatalogEvent& o_event)
{
    const TavSDK::MutexLock lock(_journal->_mutex);
    o_event.Clear();
    if (_step == Step::Changes && _revision + _journal->_changes.size() < _journal->_revision) {
        // So slow that it missed changes: it begins anew.
        _step = Step::Beginning;
    }
    // First of all, and before a snapshot, in whose revision changes of the status are lost.
    if ((!_hasBegun || _step == Step::Beginning) && _journal->_status && _journal->_status != _toldStatus) {
        _hasBegun = true;
        _toldStatus = _journal->_status;
        _SetPlace(o_event);
        o_event.set_status(*_toldStatus);
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
        _TellPage(o_event);
        return true;
    }
    if (_step == Step::Pages) {
        _TellPage(o_event);
        return true;
    }
    if (_step != Step::Changes || _revision == _journal->_revision)
        return false;
    _TellChange(_journal->_changes[_journal->_changes.size() - (_journal->_revision - _revision)], o_event);
    return true;
}

void CatalogJournal::Reader::MakeHeartbeat(pb::CatalogEvent& o_event) const
{
    o_event.Clear();
    _SetPlace(o_event);
    o_event.mutable_heartbeat();
}

void CatalogJournal::Reader::_SetPlace(pb::CatalogEvent& o_event) const
{
    o_event.set_epoch(_journal->_epoch);
    o_event.set_revision(_revision);
}

void CatalogJournal::Reader::_TellPage(pb::CatalogEvent& o_event)
{
    _SetPlace(o_event);
    auto& page = *o_event.mutable_snapshot();
    std::size_t bytes = 0;
    while (_told < _pages.size() && static_cast<std::size_t>(page.machines_size()) < _journal->_bounds.pageMachines) {
        const auto& machine = _pages[_told]->message;
        bytes += machine.ByteSizeLong();
        if (page.machines_size() > 0 && bytes > _journal->_bounds.pageBytes)
            return;
        *page.add_machines() = machine;
        ++_told;
    }
    if (_told < _pages.size())
        return;
    page.set_is_last(true);
    _pages.clear();
    _step = Step::Changes;
}

void CatalogJournal::Reader::_TellChange(const Change& i_change, pb::CatalogEvent& o_event)
{
    _revision = i_change.revision;
    _SetPlace(o_event);
    if (i_change.id.empty()) {
        _toldStatus = i_change.status;
        o_event.set_status(i_change.status);
    } else if (!i_change.machine) {
        o_event.set_removed(i_change.id);
    } else if (i_change.isNew) {
        *o_event.mutable_added() = i_change.machine->message;
    } else {
        *o_event.mutable_updated()->mutable_machine() = i_change.machine->message;
        o_event.mutable_updated()->set_changes(i_change.changes);
    }
}

} // namespace MachineService::Server
