#include "catalog/PrinterAttachment.h"

#include "catalog/PldfTimestamps.h"

#include "tavam/PropertyNames.h"
#include "vexlorcore/PropertyCollection.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <memory>
#include <string>

namespace MachineService::Utilities {

namespace {

using MachineProperty = VexlorCore::SimplePropertyValue<Machine, 0>;
using namespace TavAM::PropertyNames;

constexpr wchar_t MachineKey[] = L"Printer.Machine";

TavAM::PersistentProperties& GetAMXProperties(VexlorCore::DataSet& io_data_set)
{
    return io_data_set.GetAMObject().GetAMXProperties(false);
}

/// Empty when the scene names no machine.
std::optional<std::wstring> GetMachineIdText(const TavAM::PersistentProperties& i_properties)
{
    for (const wchar_t* const name : {Print3D::OldSelectedQueueID, Print3D::SelectedQueueID}) {
        if (i_properties.Has(name))
            return i_properties.GetText(name).value_or(std::wstring());
    }
    return std::nullopt;
}

void KeepMachine(VexlorCore::DataSet& io_data_set, const Machine& i_machine)
{
    auto& properties = io_data_set.GetPropertyCollection();
    if (auto* const kept = dynamic_cast<MachineProperty*>(properties.Get(MachineKey)))
        kept->SetValue(i_machine);
    else
        properties.Set(MachineKey, std::make_unique<MachineProperty>(i_machine));
}

} // namespace

void AttachPrinter(VexlorCore::DataSet* ip_data_set, const Machine& i_machine)
{
    KeepMachine(*ip_data_set, i_machine);
    UpdateMachineAMProperties(ip_data_set, i_machine);
}

void DetachPrinter(VexlorCore::DataSet* ip_data_set)
{
    ip_data_set->GetPropertyCollection().Delete(MachineKey);
    auto& properties = GetAMXProperties(*ip_data_set);
    properties.Remove(Print3D::OldSelectedQueueID);
    properties.Remove(Print3D::SelectedQueueID);
    properties.Remove(Print3D::MachineInformationTimestamp);
}

void ClearCachedMachineData(VexlorCore::DataSet* ip_data_set)
{
    ip_data_set->GetPropertyCollection().Delete(MachineKey);
    GetAMXProperties(*ip_data_set).Remove(Print3D::MachineInformationTimestamp);
}

std::optional<Machine> GetPrinter(VexlorCore::DataSet* ip_data_set)
{
    if (!ip_data_set)
        return std::nullopt;
    const auto* const kept = dynamic_cast<const MachineProperty*>(ip_data_set->GetPropertyCollection().Get(MachineKey));
    return kept ? std::optional(kept->GetValue()) : std::nullopt;
}

std::optional<Machine> TryGetPrinter(std::function<std::optional<Machine>(const QUuid&)> i_lookup,
                                     VexlorCore::DataSet* ip_data_set)
{
    if (!ip_data_set)
        return std::nullopt;
    if (auto kept = GetPrinter(ip_data_set))
        return kept;
    const auto id = GetMachineIdText(GetAMXProperties(*ip_data_set));
    if (!id)
        return std::nullopt;
    const auto scene = ip_data_set->weak_from_this();
    auto machine = i_lookup(QUuid::fromString(QString::fromStdWString(*id)));
    if (machine && !scene.expired())
        KeepMachine(*ip_data_set, *machine);
    return machine;
}

std::optional<boost::uuids::uuid> GetNamedMachineId(VexlorCore::DataSet* ip_data_set)
{
    const auto text = GetMachineIdText(GetAMXProperties(*ip_data_set));
    return text ? std::optional(boost::uuids::string_generator()(*text)) : std::nullopt;
}

void UpdateMachineAMProperties(VexlorCore::DataSet* ip_data_set, const Machine& i_machine)
{
    auto& properties = GetAMXProperties(*ip_data_set);
    const boost::uuids::uuid machineId = i_machine.GetMachineData().id;
    if (GetNamedMachineId(ip_data_set) == machineId) {
        UpdatePldfTimestamp(ip_data_set, i_machine);
        return;
    }
    properties.SetText(Print3D::SelectedQueueID, boost::uuids::to_wstring(machineId));
    properties.Remove(Print3D::OldSelectedQueueID);
    SetPldfTimestampFromMachine(ip_data_set->GetAMObject(), i_machine);
}

QString GetDynamicCommandName(const boost::uuids::uuid& i_command_id)
{
    return QStringLiteral("Print3D.AdditionalCommand_%1")
        .arg(QString::fromStdString(boost::uuids::to_string(i_command_id)), 0, QLatin1Char(' '));
}

MachineRepresentation ToMachinePrepresentation(MachineLayer::MachineRepType i_type)
{
    switch (i_type) {
    case MachineLayer::MachineRepType::Machine:
        return MachineRepresentation::Machine;
    case MachineLayer::MachineRepType::Queue:
        return MachineRepresentation::Queue;
    case MachineLayer::MachineRepType::Group:
        return MachineRepresentation::Group;
    case MachineLayer::MachineRepType::Template:
        return MachineRepresentation::Template;
    case MachineLayer::MachineRepType::Default:
        break;
    }
    return MachineRepresentation::Default;
}

MachineLayer::MachineRepType ToMachineRepType(MachineRepresentation i_representation)
{
    switch (i_representation) {
    case MachineRepresentation::Machine:
        return MachineLayer::MachineRepType::Machine;
    case MachineRepresentation::Queue:
        return MachineLayer::MachineRepType::Queue;
    case MachineRepresentation::Group:
        return MachineLayer::MachineRepType::Group;
    case MachineRepresentation::Template:
        return MachineLayer::MachineRepType::Template;
    case MachineRepresentation::Default:
        break;
    }
    return MachineLayer::MachineRepType::Default;
}

} // namespace MachineService::Utilities
