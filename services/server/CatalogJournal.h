#pragma once

#include "server/Bell.h"
#include "server/IconStore.h"
#include "tavsdk/Mutex.h"
#include "wire/Protocol.h"

#include <machineservice/v1/machines.pb.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::Server {

/// A machine as it is told to hosts. It keeps the icons that it names.
struct PublishedMachine
{
    PublishedMachine(const Wire::pb::Machine& i_message, std::vector<std::shared_ptr<const StoredIcon>> i_icons = {});

    Wire::pb::Machine Read() const;

    /// A SnapshotPage with this machine alone. Pages are put together of them as they are, for every host anew.
    const std::string page;
    const std::vector<std::shared_ptr<const StoredIcon>> icons;
};

/// What hosts are told of the machines: how they are now, and the last changes, so that a host that comes back gets
/// only what it missed.
///
/// A snapshot is not given while the service comes up, because a host would take the machines that are still missing in
/// it for removed ones.
///
/// Thread: any; a reader one at a time. Rings the bell after each change.
class CatalogJournal
{
public:
    struct Bounds
    {
        std::size_t changes = 4096;          ///< that are kept; who missed more gets a snapshot
        std::size_t pageBytes = 1024 * 1024; ///< of a snapshot's page, but for a machine that is longer by itself
        std::size_t pageMachines = 1000;
    };
    class Reader;

    /// \param i_epoch 16 bytes that no other life of the service had.
    CatalogJournal(std::string i_epoch, std::shared_ptr<Bell> ip_bell, Bounds i_bounds);

    /// \param i_changes bits of MachineUpdate; without meaning when the machine is new.
    void Put(const std::string& i_id, std::shared_ptr<const PublishedMachine> ip_machine, std::uint32_t i_changes);
    void Remove(const std::string& i_id);
    void SetStatus(Wire::pb::ServiceStatus i_status);
    /// All machines that there were at the beginning have been put.
    void SetLoaded();
    std::shared_ptr<const PublishedMachine> Find(const std::string& i_id) const;

    /// From the event on that the host had last; from the beginning when it is of another epoch or too long ago.
    Reader Follow(const std::string& i_epoch, std::uint64_t i_revision);

private:
    struct Entry
    {
        std::shared_ptr<const PublishedMachine> machine;
        std::uint64_t place = 0;
    };
    struct Change
    {
        std::uint64_t revision = 0;
        std::string id;                                  ///< empty: the status
        std::shared_ptr<const PublishedMachine> machine; ///< null: removed
        bool isNew = false;
        std::uint32_t changes = 0;
        Wire::pb::ServiceStatus status = Wire::pb::SERVICE_STATUS_STOPPED;
    };

    void _Add(Change i_change) TAVSDK_REQUIRES(_mutex);
    bool _MayTellSnapshot() const TAVSDK_REQUIRES(_mutex);

    const std::string _epoch;
    const std::shared_ptr<Bell> _bell;
    const Bounds _bounds;
    mutable TavSDK::Mutex _mutex; ///< guards everything below
    std::uint64_t _revision TAVSDK_GUARDED_BY(_mutex) = 0;
    std::map<std::string, Entry> _machines TAVSDK_GUARDED_BY(_mutex);
    /// Ids in the order in which the catalog told of them, which is the one that hosts show.
    std::map<std::uint64_t, std::string> _order TAVSDK_GUARDED_BY(_mutex);
    std::uint64_t _nextPlace TAVSDK_GUARDED_BY(_mutex) = 0;
    std::deque<Change> _changes TAVSDK_GUARDED_BY(_mutex);
    std::optional<Wire::pb::ServiceStatus> _status TAVSDK_GUARDED_BY(_mutex);
    bool _isLoaded TAVSDK_GUARDED_BY(_mutex) = false;
};

/// One host's place in the journal. The journal outlives it.
class CatalogJournal::Reader
{
public:
    // Events are the bytes of a CatalogEvent.

    /// \return false when there is nothing to tell now.
    bool Next(std::string& o_event);
    /// An event that says nothing new.
    std::string MakeHeartbeat() const;

private:
    friend class CatalogJournal;
    enum class Step
    {
        Beginning, ///< a snapshot is due
        Pages,
        Changes
    };

    Reader(CatalogJournal& io_journal, std::optional<std::uint64_t> i_revision)
        : _journal(&io_journal)
        , _step(i_revision ? Step::Changes : Step::Beginning)
        , _revision(i_revision.value_or(0))
    {}
    std::string _TellPage();
    std::string _TellChange(const Change& i_change);
    std::string _TellStatus(Wire::pb::ServiceStatus i_status);
    Wire::pb::CatalogEvent _MakeEvent() const;

    CatalogJournal* _journal;
    Step _step;
    std::uint64_t _revision;
    bool _hasBegun = false;
    std::optional<Wire::pb::ServiceStatus> _toldStatus;
    std::vector<std::shared_ptr<const PublishedMachine>> _pages; ///< what is left of a snapshot
    std::size_t _told = 0;                                       ///< of the pages
};

} // namespace MachineService::Server
