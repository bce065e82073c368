#include "machinemanager/store/JobStore.h"
#include "machinemanager/store/JobStore_p.h"

#include <boost/uuid/uuid_io.hpp>

namespace MachineService::MachineManager {

namespace {

/// A machine that a service offers all the time is not written down every time.
constexpr std::chrono::hours BetweenNotes{1};

std::vector<MachineEntry> ReadMachines(Connection& io_connection, const QString& i_condition,
                                       const QVariantList& i_values = {})
{
    std::vector<MachineEntry> machines;
    Rows rows = io_connection.Select(
        QStringLiteral("SELECT id, name, model, is_paused, pause_reason, loaded_material, loaded_nozzle, loaded_plate, "
                       "printer, seen FROM machines ") +
            i_condition,
        i_values);
    const auto text = [&](int i_column) {
        return rows[i_column].toString().toStdString();
    };
    while (rows.Next())
        machines.push_back({ToUuid(rows[0].toString()),
                            text(1),
                            text(2),
                            rows[3].toBool(),
                            text(4),
                            {text(5), ToOptionalNumber(rows[6]), text(7)},
                            text(8),
                            ToTime(rows[9])});
    return machines;
}

std::optional<MachineEntry> ReadMachine(Connection& io_connection, const boost::uuids::uuid& i_id,
                                        const QString& i_lock)
{
    auto machines = ReadMachines(io_connection, QStringLiteral("WHERE id = ?") + i_lock, {ToText(i_id)});
    return machines.empty() ? std::nullopt : std::optional(std::move(machines.front()));
}

} // namespace

std::vector<MachineEntry> JobStore::GetMachines() const
{
    return _impl->Read(
        [](Connection& io_connection) { return ReadMachines(io_connection, QStringLiteral("ORDER BY name, id")); });
}

std::optional<MachineEntry> JobStore::FindMachine(const boost::uuids::uuid& i_id) const
{
    return _impl->Read([&](Connection& io_connection) { return ReadMachine(io_connection, i_id, {}); });
}

void JobStore::NoteMachine(const boost::uuids::uuid& i_id, const std::string& i_name, const std::string& i_model)
{
    const auto known = FindMachine(i_id);
    const Time now = _impl->Now();
    const bool isSame = known && known->name == i_name && known->model == i_model;
    if (isSame && known->seen <= now && now - known->seen < BetweenNotes)
        return;
    _impl->Write([&](Writing& io_writing) {
        const int count = io_writing.connection.Run(
            QStringLiteral(
                "INSERT INTO machines (id, name, model, is_paused, pause_reason, loaded_material, loaded_plate, "
                "printer, seen) VALUES (?, ?, ?, 0, '', '', '', '', ?) ON CONFLICT (id) DO UPDATE SET name = "
                "excluded.name, model = excluded.model, seen = excluded.seen"),
            {ToText(i_id), ToText(i_name), ToText(i_model), ToNumber(now)});
        if (!isSame)
            io_writing.changed.push_back({});
        return count;
    });
}

MachineEntry JobStore::EditMachine(const boost::uuids::uuid& i_id, const std::string& i_actor,
                                   const std::string& i_detail, const std::function<void(MachineEntry&)>& i_edit)
{
    return _impl->Write([&](Writing& io_writing) {
        auto machine = ReadMachine(io_writing.connection, i_id, _impl->dialect->GetRowLock());
        if (!machine)
            throw ManagerError(ManagerError::Kind::NotFound, "There is no machine " + boost::uuids::to_string(i_id) +
                                                                 ". Look at the list of machines.");
        i_edit(*machine);
        machine->id = i_id;
        io_writing.connection.Run(
            QStringLiteral(
                "UPDATE machines SET name = ?, model = ?, is_paused = ?, pause_reason = ?, loaded_material = ?, "
                "loaded_nozzle = ?, loaded_plate = ?, printer = ?, seen = ? WHERE id = ?"),
            {ToText(machine->name), ToText(machine->model), machine->isPaused ? 1 : 0, ToText(machine->pauseReason),
             ToText(machine->loaded.material), ToValue(machine->loaded.nozzle), ToText(machine->loaded.plate),
             ToText(machine->printer), ToNumber(machine->seen), ToText(i_id)});
        io_writing.connection.Run(
            QStringLiteral("INSERT INTO machine_history (machine, time, actor, detail) VALUES (?, ?, ?, ?)"),
            {ToText(i_id), ToNumber(_impl->Now()), ToText(i_actor), ToText(i_detail)});
        io_writing.changed.push_back({});
        return *machine;
    });
}

} // namespace MachineService::MachineManager
