#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/MachineData.h"
#include "contract/MachineNews.h"
#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MachineService::Remote {

/// A command as the service told it; icons are kept apart, because thousands of machines share a few.
struct StoredCommand
{
    CommandDescription description; ///< without the icon
    std::string iconHash;           ///< 32 bytes, or none

    bool operator==(const StoredCommand&) const = default;
};

/// A machine as the service told it.
struct StoredMachine
{
    MachineData data; ///< with the picture as far as it is known
    std::string pictureHash;
    std::vector<StoredCommand> commands;
    std::vector<StoredMachine> others; ///< the same machine in other forms
};

/// What differs, as news of the machine.
MachineChanges FindChanges(const StoredMachine& i_old, const StoredMachine& i_new);

/// How far the host knows the service's list of machines; what it asks for after a broken connection.
struct Position
{
    std::string epoch;
    std::uint64_t revision = 0;

    bool operator==(const Position&) const = default;
};

/// The machines as a service told them last, also while it is lost.
///
/// Thread: any. Machines that were handed out stay as they were.
class MachineStore
{
public:
    using MachinePointer = std::shared_ptr<const StoredMachine>;

    /// Takes the place of all machines.
    MachineNews Replace(std::vector<StoredMachine> i_machines, const Position& i_position);
    /// Adds a machine, or takes the place of one that is known.
    /// \param i_told what the service says of the change, beside what shows.
    MachineNews Put(StoredMachine i_machine, MachineChanges i_told, const Position& i_position);
    MachineNews Remove(const boost::uuids::uuid& i_id, const Position& i_position);

    Position GetPosition() const;
    /// Null when there is no such machine.
    MachinePointer Find(const boost::uuids::uuid& i_id) const;
    /// In the order in which they came.
    std::vector<MachinePointer> GetAll() const;
    std::vector<boost::uuids::uuid> GetIds() const;

private:
    struct Entry
    {
        MachinePointer machine;
        std::uint64_t place = 0;
        std::uint64_t generation = 0; ///< of the last snapshot that had it
    };

    void _Put(StoredMachine&& io_machine, MachineChanges i_told, MachineNews& io_news) TAVSDK_REQUIRES(_mutex);

    mutable TavSDK::Mutex _mutex; ///< guards everything below
    std::map<boost::uuids::uuid, Entry> _entries TAVSDK_GUARDED_BY(_mutex);
    std::map<std::uint64_t, boost::uuids::uuid> _order TAVSDK_GUARDED_BY(_mutex);
    std::uint64_t _nextPlace TAVSDK_GUARDED_BY(_mutex) = 0;
    std::uint64_t _generation TAVSDK_GUARDED_BY(_mutex) = 0; ///< counts the snapshots
    Position _position TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::Remote
