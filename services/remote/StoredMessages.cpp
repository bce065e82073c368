#include "remote/StoredMessages.h"

#include "contract/Failure.h"
#include "wire/Conversions.h"

namespace MachineService::Remote {

namespace {

namespace pb = machineservice::v1;

constexpr int MaxCommands = 1000;
constexpr int MaxOthers = 16;

[[noreturn]] void RefuseNumbers()
{
    Fail(ErrorCode::InternalError,
         "The other side sent a machine with too many commands or forms; it needs to be renewed or repaired.");
}

void Read(const pb::Machine& i_machine, StoredMachine& o_machine)
{
    o_machine.data = Wire::FromMessage(i_machine);
    o_machine.pictureHash = i_machine.picture_sha256();
    if (i_machine.commands_size() > MaxCommands)
        RefuseNumbers();
    o_machine.commands.reserve(static_cast<std::size_t>(i_machine.commands_size()));
    for (const auto& command : i_machine.commands())
        o_machine.commands.push_back({Wire::FromMessage(command), command.icon_sha256()});
}

} // namespace

std::shared_ptr<StoredMachine> ToStored(const pb::Machine& i_machine)
{
    if (i_machine.other_representations_size() > MaxOthers)
        RefuseNumbers();
    auto machine = std::make_shared<StoredMachine>();
    Read(i_machine, *machine);
    machine->others.resize(static_cast<std::size_t>(i_machine.other_representations_size()));
    // Other forms have none themselves, whatever somebody sends.
    for (int index = 0; index < i_machine.other_representations_size(); ++index)
        Read(i_machine.other_representations(index), machine->others[static_cast<std::size_t>(index)]);
    return machine;
}

pb::Machine ToMessage(const StoredMachine& i_machine)
{
    pb::Machine message = Wire::ToMessage(i_machine.data);
    message.set_picture_sha256(i_machine.pictureHash);
    for (const StoredCommand& command : i_machine.commands) {
        auto& added = *message.add_commands() = Wire::ToMessage(command.description);
        added.set_icon_sha256(command.iconHash);
    }
    for (const StoredMachine& other : i_machine.others)
        *message.add_other_representations() = ToMessage(other);
    return message;
}

void CollectHashes(const StoredMachine& i_machine, std::set<std::string>& io_hashes)
{
    if (!i_machine.pictureHash.empty())
        io_hashes.insert(i_machine.pictureHash);
    for (const StoredCommand& command : i_machine.commands) {
        if (!command.iconHash.empty())
            io_hashes.insert(command.iconHash);
    }
    for (const StoredMachine& other : i_machine.others)
        CollectHashes(other, io_hashes);
}

void FillPictures(StoredMachine& io_machine, const IconStore& i_icons)
{
    if (!io_machine.pictureHash.empty())
        io_machine.data.picture = i_icons.Find(io_machine.pictureHash);
    for (StoredMachine& other : io_machine.others)
        FillPictures(other, i_icons);
}

} // namespace MachineService::Remote
