#include "machineconfig/CarriedMachineConfiguration.h"

#include "machineconfig/ConfigurationErrors.h"
#include "machineconfig/MachineConfiguration.h"

#include "tavam/PropertyNames.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/SceneMachineData.h"

#include <QCoreApplication>

#include <memory>
#include <string>
#include <utility>

namespace MachineService {

namespace {

using TavAM::PersistentProperties;
using TavAM::PropertyNames::Print3D::MachineConfiguration;

/// As a property has it; empty when it is too long for one.
std::optional<std::wstring> ToProperty(const std::string& i_document)
{
    std::optional<std::wstring> text = TavSDK::FromUtf8(i_document).value();
    if (PersistentProperties::CountSavedBytes(*text) > PersistentProperties::LargestText)
        text.reset();
    return text;
}

/// What a scene was made to carry last, and the machine data that it was made from.
struct Carried
{
    MachineLayer::Data::Machine machine;
    std::optional<std::wstring> document;
};

using CarriedProperty = VexlorCore::SimplePropertyValue<Carried, 0>;

constexpr wchar_t CarriedKey[] = L"Printer.MachineConfiguration";

/// Empty when the platform carries none.
std::optional<std::wstring> MakeDocument(const MachineLayer::Data::Machine& i_machine)
{
    const PlatformMachineConfiguration configuration = MachineLayer::TakeConfiguration(i_machine);
    if (!MachineLayer::HasSection(configuration))
        return std::nullopt;
    const std::string document = WriteMachineConfiguration(configuration);
    auto text = ToProperty(document);
    if (!text) {
        qCWarning(ConfigurationLog,
                  "The configuration of the machine '%s' is too long for a platform file (%zu bytes) and left out.",
                  TavSDK::ToUtf8(i_machine.properties.name).c_str(), document.size());
    }
    return text;
}

/// The document that belongs to the machine data, made anew only when they changed.
const std::optional<std::wstring>& GetDocument(VexlorCore::PropertyCollection& io_properties,
                                               const MachineLayer::Data::Machine& i_machine)
{
    const auto* carried = dynamic_cast<const CarriedProperty*>(io_properties.Get(CarriedKey));
    if (!carried || carried->GetValue().machine != i_machine) {
        auto made = std::make_unique<CarriedProperty>(Carried{i_machine, MakeDocument(i_machine)});
        carried = made.get();
        io_properties.Set(CarriedKey, std::move(made));
    }
    return carried->GetValue().document;
}

/// Without copying either: they may be long.
bool Carries(const PersistentProperties& i_properties, const std::wstring& i_document)
{
    const auto found = i_properties.GetAll().find(MachineConfiguration);
    return found != i_properties.GetAll().end() && found->second == i_document;
}

} // namespace

void SetMachineConfiguration(TavAM::Platform& io_platform, const PlatformMachineConfiguration& i_configuration)
{
    const auto text = ToProperty(WriteMachineConfiguration(i_configuration));
    if (!text) {
        ThrowInternalError(QCoreApplication::translate("MachineService",
                                                       "The machine's configuration is too long for a platform file."));
    }
    io_platform.GetAMXProperties().SetText(MachineConfiguration, *text);
}

std::optional<PlatformMachineConfiguration> GetMachineConfiguration(const TavAM::Platform& i_platform)
{
    const std::optional<std::wstring> document = i_platform.GetAMXProperties().GetText(MachineConfiguration);
    if (!document)
        return std::nullopt;
    return ReadMachineConfiguration(TavSDK::ToUtf8(*document));
}

void Utilities::UpdateMachineConfiguration(VexlorCore::DataSet* ip_data_set)
{
    PersistentProperties& properties = ip_data_set->GetAMObject().GetAMXProperties();
    try {
        auto& collection = ip_data_set->GetPropertyCollection();
        const auto* const data = MachineLayer::Utilities::GetMachineDataMutable(ip_data_set);
        if (!data) {
            // Only what was made from machine data went with them.
            const auto* const carried = dynamic_cast<const CarriedProperty*>(collection.Get(CarriedKey));
            const bool isMade = carried && carried->GetValue().document;
            if (isMade && Carries(properties, *carried->GetValue().document))
                properties.Remove(MachineConfiguration);
            return;
        }
        const auto& document = GetDocument(collection, data->Get());
        if (!document)
            properties.Remove(MachineConfiguration);
        else if (!Carries(properties, *document))
            properties.SetText(MachineConfiguration, *document);
    } catch (...) {
        // What it carried belongs to machine data of before.
        properties.Remove(MachineConfiguration);
        throw;
    }
}

} // namespace MachineService
