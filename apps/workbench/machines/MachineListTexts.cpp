#include "workbench/machines/MachineList.h"

#include "workbench/base/LengthText.h"
#include "workbench/base/Preferences.h"

#include <QRegularExpression>

#include <chrono>

// What the list says of services and machines.

namespace Workbench {

namespace {

using MachineService::MachineState;
using MachineService::MachineTechnology;
using MachineService::ServiceStatus;

QString ToText(const std::string& i_text)
{
    return QString::fromStdString(i_text).simplified();
}

QString ToText(const std::optional<MachineService::BuildVolume>& i_volume)
{
    if (!i_volume)
        return MachineList::tr("size unknown");
    return LengthText::ShowVolume(i_volume->isCircular, i_volume->maxX - i_volume->minX,
                                  i_volume->maxY - i_volume->minY, i_volume->height);
}

} // namespace

QString MachineList::_GetName(const MachineService::MachineData& i_data)
{
    return ToText(i_data.name);
}

QString MachineList::_GetServiceName(MachineService::ServiceId i_id) const
{
    switch (i_id) {
    case MachineService::ServiceId::BuildProcessors:
        return tr("Build Processors");
    case MachineService::ServiceId::MachineManager:
        return tr("Machine Manager");
    case MachineService::ServiceId::None:
        break;
    }
    // "tls://HOST:PORT" as people say it; a path as it is.
    if (QString address = _address ? _address(i_id) : QString(); !address.isEmpty()) {
        address.remove(QRegularExpression(QStringLiteral("^(tls://|unix:)")));
        return address;
    }
    const int number = static_cast<int>(i_id) - MachineService::FirstEndpointService;
    return number < 0 ? tr("Service %1").arg(static_cast<int>(i_id)) : tr("Machine service %1").arg(number + 1);
}

QVariant MachineList::_GetData(const Service& i_service, int i_role) const
{
    const QString status = [&] {
        switch (i_service.status) {
        case ServiceStatus::Stopped:
            return tr("stopped");
        case ServiceStatus::Starting:
            return tr("starting");
        case ServiceStatus::Running:
            return tr("running");
        case ServiceStatus::AuthenticationRequired:
            return tr("needs you to sign in");
        case ServiceStatus::Failed:
            break;
        }
        return tr("failed");
    }();
    QString text = tr("%1 since %2").arg(status, i_service.since.toString(QStringLiteral("HH:mm")));
    const bool isWell = i_service.status == ServiceStatus::Running || i_service.status == ServiceStatus::Starting;
    if (const QString reason = _reason && !isWell ? _reason(i_service.id).simplified() : QString(); !reason.isEmpty())
        text += QStringLiteral(" – ") + reason;
    switch (i_role) {
    case Qt::DisplayRole:
        return _GetServiceName(i_service.id);
    case StateTextRole:
    case Qt::ToolTipRole:
        return text;
    case Qt::AccessibleTextRole:
        return tr("Service %1, %2, machines: %3")
            .arg(_GetServiceName(i_service.id), text)
            .arg(i_service.machines.size());
    case ServiceRole:
        return static_cast<int>(i_service.id);
    case OfferRole:
        return _offer ? _offer(i_service.id) : QString();
    case TroubleRole:
        return i_service.status == ServiceStatus::Failed || i_service.status == ServiceStatus::AuthenticationRequired;
    default:
        return {};
    }
}

QString MachineList::_GetStateText(const Machine& i_machine) const
{
    if (i_machine.isGone)
        return tr("Gone: its service does not offer it any more. The scene keeps it; nothing can be sent to it.");
    QString text = GetStateName(i_machine.data.state);
    for (const std::string& reason : i_machine.data.stateReasons)
        text += QStringLiteral(" – ") + ToText(reason);
    if (i_machine.data.stateTime) {
        const auto time = std::chrono::floor<std::chrono::milliseconds>(i_machine.data.stateTime->time_since_epoch());
        const auto age = QDateTime::fromMSecsSinceEpoch(time.count()).secsTo(QDateTime::currentDateTime());
        if (age >= 3600)
            text = tr("%1, %2 h ago").arg(text).arg(age / 3600);
        else if (age >= 60)
            text = tr("%1, %2 min ago").arg(text).arg(age / 60);
    }
    return text;
}

QVariant MachineList::_GetData(const Machine& i_machine, int i_role) const
{
    const auto& data = i_machine.data;
    const QString id = i_machine.id.toString(QUuid::WithoutBraces);
    const auto detail = [&] {
        QStringList texts{ToText(data.manufacturer), ToText(data.buildVolume)};
        texts.removeAll(QString());
        return texts.join(QStringLiteral(" · "));
    };
    switch (i_role) {
    case Qt::DisplayRole:
        return _GetName(data);
    case Qt::DecorationRole:
        return i_machine.picture;
    case Qt::ToolTipRole:
        return QStringList{ToText(data.comment), GetTechnologyName(data.technology), _GetStateText(i_machine)}.join(
            QLatin1Char('\n'));
    case Qt::AccessibleTextRole: {
        QStringList texts{_GetName(data), detail(), _GetStateText(i_machine)};
        if (_preferences.IsFavourite(id))
            texts << tr("favourite");
        if (_active == i_machine.id)
            texts << tr("attached to this scene");
        return texts.join(QStringLiteral(", "));
    }
    case IdRole:
        return i_machine.id;
    case DetailRole:
        return detail();
    case StateRole:
        return static_cast<int>(i_machine.isGone ? MachineState::Offline : data.state);
    case StateTextRole:
        return _GetStateText(i_machine);
    case FavouriteRole:
        return _preferences.IsFavourite(id);
    case GoneRole:
        return i_machine.isGone;
    case AttachedRole:
        return _active == i_machine.id;
    case TechnologyRole:
        return static_cast<int>(data.technology);
    case SearchRole:
        return (_GetName(data) + QLatin1Char(' ') + detail() + QLatin1Char(' ') + ToText(data.comment) +
                QLatin1Char(' ') + GetTechnologyName(data.technology))
            .toLower();
    default:
        return {};
    }
}

QString MachineList::GetTechnologyName(MachineTechnology i_technology)
{
    switch (i_technology) {
    case MachineTechnology::MaterialExtrusion:
        return tr("Material extrusion (filament)");
    case MachineTechnology::VatPhotopolymer:
        return tr("Vat photopolymerisation (resin)");
    case MachineTechnology::PowderBedFusion:
        return tr("Powder bed fusion");
    case MachineTechnology::BinderJetting:
        return tr("Binder jetting");
    case MachineTechnology::MaterialJetting:
        return tr("Material jetting");
    case MachineTechnology::DirectedEnergy:
        return tr("Directed energy deposition");
    case MachineTechnology::SheetLamination:
        return tr("Sheet lamination");
    case MachineTechnology::NotTold:
        break;
    }
    return tr("Technology not told");
}

QString MachineList::GetStateName(MachineState i_state)
{
    switch (i_state) {
    case MachineState::Ready:
        return tr("Ready");
    case MachineState::Busy:
        return tr("Busy");
    case MachineState::Paused:
        return tr("Paused");
    case MachineState::Failed:
        return tr("Error");
    case MachineState::Offline:
        return tr("Offline");
    case MachineState::NotTold:
        break;
    }
    return tr("State not told");
}

} // namespace Workbench
