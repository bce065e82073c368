#include "workbench/machines/MachineList.h"

#include "workbench/base/Preferences.h"
#include "workbench/look/MachinePicture.h"

#include "hosting/MachineIds.h"

#include <QMimeData>
#include <QTimer>

#include <algorithm>

namespace Workbench {

namespace {

using MachineService::ServiceStatus;

constexpr int AgeInterval = 30'000; ///< ms

bool IsBefore(const QString& i_left, const QString& i_right)
{
    return QString::localeAwareCompare(i_left, i_right) < 0;
}

} // namespace

MachineList::MachineList(MachineService::CommunicationClient& io_client, Preferences& io_preferences,
                         QObject* ip_parent)
    : QAbstractItemModel(ip_parent)
    , _client(io_client)
    , _preferences(io_preferences)
{
    using MachineService::CommunicationClient;
    connect(&_client, &CommunicationClient::MachineAdded, this, &MachineList::_Update);
    connect(&_client, &CommunicationClient::MachineModified, this, [this](const QUuid& i_id) { _Update(i_id); });
    connect(&_client, &CommunicationClient::MachineRemoved, this, &MachineList::_Remove);
    connect(&_client, &CommunicationClient::ServiceStatusChanged, this, &MachineList::_SetStatus);
    connect(&_preferences, &Preferences::MachinesChanged, this, &MachineList::_Tell);
    // The age of what is shown.
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MachineList::_Tell);
    timer->start(AgeInterval);
    Refresh();
}

void MachineList::Refresh()
{
    for (const auto& machine : _client.GetMachines())
        _Put(machine.GetMachineData(), false);
}

int MachineList::_FindService(MachineService::ServiceId i_id) const
{
    const auto found =
        std::find_if(_services.begin(), _services.end(), [&](const auto& i_service) { return i_service->id == i_id; });
    return found == _services.end() ? -1 : static_cast<int>(found - _services.begin());
}

int MachineList::_AddService(MachineService::ServiceId i_id)
{
    if (const int row = _FindService(i_id); row >= 0)
        return row;
    const auto place =
        std::find_if(_services.begin(), _services.end(), [&](const auto& i_service) { return i_id < i_service->id; });
    const int row = static_cast<int>(place - _services.begin());
    beginInsertRows({}, row, row);
    auto service = std::make_unique<Service>();
    service->id = i_id;
    service->since = QDateTime::currentDateTime();
    _services.insert(place, std::move(service));
    endInsertRows();
    return row;
}

void MachineList::_SetStatus(MachineService::ServiceId i_service, ServiceStatus i_status)
{
    const int row = _AddService(i_service);
    Service& service = *_services[static_cast<std::size_t>(row)];
    if (std::exchange(service.status, i_status) != i_status)
        service.since = QDateTime::currentDateTime();
    Q_EMIT dataChanged(index(row, 0), index(row, 0));
}

void MachineList::NoteServiceOffers()
{
    if (!_services.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, 0));
}

void MachineList::_Update(const QUuid& i_machine)
{
    if (const auto machine = _client.TryGetPrinterById(i_machine))
        _Put(machine->GetMachineData(), false);
    else
        _Remove(i_machine);
}

MachineService::ServiceId MachineList::_FindOwner(const MachineService::MachineData& i_data) const
{
    // A machine of an endpoint says which kind of service it has; here it stands below the one that offers it.
    for (const auto& service : _services) {
        if (static_cast<std::int32_t>(service->id) >= MachineService::FirstEndpointService &&
            _client.TryGetPrinterByIdFromService(service->id, Hosting::ToQUuid(i_data.id), i_data.representation))
            return service->id;
    }
    return i_data.serviceId;
}

void MachineList::_Put(MachineService::MachineData i_data, bool i_is_gone)
{
    const QUuid id = Hosting::ToQUuid(i_data.id);
    i_data.serviceId = _FindOwner(i_data);
    const int serviceRow = _AddService(i_data.serviceId);
    auto& machines = _services[static_cast<std::size_t>(serviceRow)]->machines;
    const QString name = _GetName(i_data);
    if (Machine* const known = _byId.value(id)) {
        // One that was renamed finds its new place.
        if (known->data.name == i_data.name && known->data.serviceId == i_data.serviceId) {
            if (!(known->data.picture == i_data.picture))
                known->picture = DecodePicture(i_data.picture.GetBytes());
            known->data = std::move(i_data);
            known->isGone = i_is_gone;
            const QModelIndex changed = Find(id);
            Q_EMIT dataChanged(changed, changed);
            return;
        }
        const QModelIndex former = Find(id);
        beginRemoveRows(former.parent(), former.row(), former.row());
        auto& old = _services[static_cast<std::size_t>(former.parent().row())]->machines;
        old.erase(old.begin() + former.row());
        _byId.remove(id);
        endRemoveRows();
    }
    const auto place =
        std::upper_bound(machines.begin(), machines.end(), name,
                         [](const QString& i_name, const auto& i_m) { return IsBefore(i_name, _GetName(i_m->data)); });
    const int row = static_cast<int>(place - machines.begin());
    beginInsertRows(index(serviceRow, 0), row, row);
    auto machine = std::make_unique<Machine>();
    machine->id = id;
    machine->picture = DecodePicture(i_data.picture.GetBytes());
    machine->data = std::move(i_data);
    machine->isGone = i_is_gone;
    _byId.insert(id, machine.get());
    machines.insert(place, std::move(machine));
    endInsertRows();
}

void MachineList::_Remove(const QUuid& i_machine)
{
    Machine* const machine = _byId.value(i_machine);
    if (!machine)
        return;
    const QModelIndex gone = Find(i_machine);
    if (_attached.contains(i_machine)) {
        machine->isGone = true;
        Q_EMIT dataChanged(gone, gone);
        return;
    }
    beginRemoveRows(gone.parent(), gone.row(), gone.row());
    _byId.remove(i_machine);
    auto& machines = _services[static_cast<std::size_t>(gone.parent().row())]->machines;
    machines.erase(machines.begin() + gone.row());
    endRemoveRows();
}

void MachineList::SetAttached(const QHash<QUuid, QString>& i_machines, const QUuid& i_active)
{
    if (i_machines == _attached && i_active == _active)
        return;
    _attached = i_machines;
    _active = i_active;
    for (const QUuid& id : _byId.keys()) {
        if (_byId.value(id)->isGone && !_attached.contains(id))
            _Remove(id);
    }
    for (auto machine = i_machines.begin(); machine != i_machines.end(); ++machine) {
        if (_byId.contains(machine.key()))
            continue;
        MachineService::MachineData data;
        data.id = Hosting::ToBoostUuid(machine.key());
        data.name = machine.value().toStdString();
        _Put(std::move(data), true);
    }
    _Tell();
}

void MachineList::_Tell()
{
    for (int row = 0; row < rowCount(); ++row) {
        const QModelIndex service = index(row, 0);
        Q_EMIT dataChanged(service, service);
        if (const int count = rowCount(service); count > 0)
            Q_EMIT dataChanged(index(0, 0, service), index(count - 1, 0, service));
    }
}

QModelIndex MachineList::Find(const QUuid& i_machine) const
{
    const Machine* const machine = _byId.value(i_machine);
    if (!machine)
        return {};
    const int service = _FindService(machine->data.serviceId);
    const auto& machines = _services[static_cast<std::size_t>(service)]->machines;
    const auto place =
        std::find_if(machines.begin(), machines.end(), [&](const auto& i_known) { return i_known.get() == machine; });
    return index(static_cast<int>(place - machines.begin()), 0, index(service, 0));
}

int MachineList::GetMachineCount() const
{
    return _byId.size();
}

QModelIndex MachineList::index(int i_row, int i_column, const QModelIndex& i_parent) const
{
    if (i_row < 0 || i_column != 0 || i_row >= rowCount(i_parent))
        return {};
    // A machine's index holds its service, a service's nothing.
    return createIndex(i_row, i_column,
                       i_parent.isValid() ? _services[static_cast<std::size_t>(i_parent.row())].get() : nullptr);
}

QModelIndex MachineList::parent(const QModelIndex& i_index) const
{
    const auto* const service = static_cast<const Service*>(i_index.internalPointer());
    return service ? createIndex(_FindService(service->id), 0, nullptr) : QModelIndex();
}

int MachineList::rowCount(const QModelIndex& i_parent) const
{
    if (!i_parent.isValid())
        return static_cast<int>(_services.size());
    if (i_parent.internalPointer())
        return 0;
    return static_cast<int>(_services[static_cast<std::size_t>(i_parent.row())]->machines.size());
}

int MachineList::columnCount(const QModelIndex&) const
{
    return 1;
}

QVariant MachineList::data(const QModelIndex& i_index, int i_role) const
{
    if (!i_index.isValid())
        return {};
    const auto row = static_cast<std::size_t>(i_index.row());
    if (const auto* const service = static_cast<const Service*>(i_index.internalPointer()))
        return _GetData(*service->machines[row], i_role);
    return _GetData(*_services[row], i_role);
}

Qt::ItemFlags MachineList::flags(const QModelIndex& i_index) const
{
    if (!i_index.isValid() || !i_index.internalPointer())
        return i_index.data(OfferRole).toString().isEmpty() ? Qt::ItemIsEnabled
                                                            : Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    auto flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (!i_index.data(GoneRole).toBool())
        flags |= Qt::ItemIsDragEnabled;
    return flags;
}

QStringList MachineList::mimeTypes() const
{
    return {GetMimeType()};
}

QMimeData* MachineList::mimeData(const QModelIndexList& i_indexes) const
{
    if (i_indexes.isEmpty())
        return nullptr;
    auto* const data = new QMimeData;
    data->setData(GetMimeType(), i_indexes.front().data(IdRole).toUuid().toByteArray());
    return data;
}

} // namespace Workbench
