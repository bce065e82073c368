#pragma once

#include "client/interface/CommunicationException.h"
#include "contract/MachineNews.h"

#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace MachineService {

/// The machines that a service has at this moment.
///
/// Beside Entry there are `boost::uuids::uuid GetId(const Entry&)` and `MachineChanges FindChanges(const Entry& i_old,
/// const Entry& i_new)`.
///
/// Thread: any. Entries that were handed out stay as they were.
template <class Entry>
class MachineRegistry
{
public:
    using EntryPointer = std::shared_ptr<const Entry>;

    /// Takes the place of all machines. One without changes keeps its former entry.
    MachineNews Replace(std::vector<Entry> i_entries)
    {
        MachineNews news;
        const TavSDK::MutexLock lock(_mutex);
        if (_closed)
            return news;
        std::map<boost::uuids::uuid, EntryPointer> entries;
        std::vector<boost::uuids::uuid> order;
        for (Entry& entry : i_entries) {
            const auto id = GetId(entry);
            const auto known = _entries.find(id);
            const auto changes = known == _entries.end() ? MachineChanges::None : FindChanges(*known->second, entry);
            const bool keeps = known != _entries.end() && changes == MachineChanges::None;
            if (!entries.emplace(id, keeps ? known->second : std::make_shared<const Entry>(std::move(entry))).second)
                continue; // an id that appears twice is one machine: the first
            order.push_back(id);
            if (known == _entries.end())
                news.added.push_back(id);
            else if (!keeps)
                news.updated.emplace_back(id, changes);
        }
        for (const auto& [id, entry] : _entries) {
            if (!entries.contains(id))
                news.removed.push_back(id);
        }
        _entries = std::move(entries);
        _order = std::move(order);
        return news;
    }

    /// No machine any more, now and later.
    void Close()
    {
        const TavSDK::MutexLock lock(_mutex);
        _closed = true;
        _entries.clear();
        _order.clear();
    }

    bool IsClosed() const
    {
        const TavSDK::MutexLock lock(_mutex);
        return _closed;
    }

    /// \throws CommunicationException ServicesUnavailable after Close, else MachineNotFound.
    EntryPointer Get(const boost::uuids::uuid& i_id) const
    {
        if (auto entry = Find(i_id))
            return entry;
        throw CommunicationException(IsClosed() ? ErrorCode::ServicesUnavailable : ErrorCode::MachineNotFound);
    }

    /// Null when there is no such machine.
    EntryPointer Find(const boost::uuids::uuid& i_id) const
    {
        const TavSDK::MutexLock lock(_mutex);
        const auto found = _entries.find(i_id);
        return found == _entries.end() ? nullptr : found->second;
    }

    /// In the order in which they were given.
    std::vector<EntryPointer> GetAll() const
    {
        const TavSDK::MutexLock lock(_mutex);
        std::vector<EntryPointer> entries;
        entries.reserve(_order.size());
        for (const auto& id : _order)
            entries.push_back(_entries.at(id));
        return entries;
    }

private:
    mutable TavSDK::Mutex _mutex; ///< guards everything below
    std::map<boost::uuids::uuid, EntryPointer> _entries TAVSDK_GUARDED_BY(_mutex);
    std::vector<boost::uuids::uuid> _order TAVSDK_GUARDED_BY(_mutex);
    bool _closed TAVSDK_GUARDED_BY(_mutex) = false;
};

} // namespace MachineService
