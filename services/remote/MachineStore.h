#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/MachineData.h"
#include "contract/MachineNews.h"
#include "tavsdk/Mutex.h"

#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
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
    MachineNews Replace(std::vector<std::shared_ptr<StoredMachine>> i_machines, const Position& i_position);
    /// Adds a machine, or takes the place of one that is known.
    /// \param i_told what the service says of the change, beside what shows.
    MachineNews Put(MachinePointer ip_machine, MachineChanges i_told, const Position& i_position);
    MachineNews Remove(const boost::uuids::uuid& i_id, const Position& i_position);

    Position GetPosition() const;
    /// Null when there is no such machine.
    MachinePointer Find(const boost::uuids::uuid& i_id) const;
    /// In the order in which they came.
    std::vector<MachinePointer> GetAll() const;
    std::vector<boost::uuids::uuid> GetIds() const;

private:
    /// Ids are random as a rule; those that somebody numbered by hand differ in a few bits only.
    struct Hash
    {
        using is_avalanching = void;
        std::size_t operator()(const boost::uuids::uuid& i_id) const
        {
            std::uint64_t halves[2];
            std::memcpy(halves, i_id.data, sizeof(halves));
            const std::uint64_t mixed = (halves[0] ^ (halves[1] * 0x9e3779b97f4a7c15u)) * 0xff51afd7ed558ccdu;
            return static_cast<std::size_t>(mixed ^ (mixed >> 32));
        }
    };

    struct Entry
    {
        boost::uuids::uuid id = {};
        MachinePointer machine; ///< null: it was removed
    };

    void _Put(MachinePointer&& iop_machine, MachineChanges i_told, MachineNews& io_news) TAVSDK_REQUIRES(_mutex);
    void _Remove(std::size_t i_place, MachineNews& io_news) TAVSDK_REQUIRES(_mutex);
    void _CloseGaps() TAVSDK_REQUIRES(_mutex);

    mutable TavSDK::Mutex _mutex; ///< guards everything below
    /// In the order in which they came, with gaps as long as they are few.
    std::vector<Entry> _entries TAVSDK_GUARDED_BY(_mutex);
    boost::unordered_flat_map<boost::uuids::uuid, std::size_t, Hash> _places TAVSDK_GUARDED_BY(_mutex);
    Position _position TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::Remote
