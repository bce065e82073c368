#include "buildprocessor/platform/PlatformChoices.h"

#include "buildprocessor/machines/MachineSettings.h"
#include "buildprocessor/platform/PropertyNames.h"
#include "tavsdk/Text.h"
#include "tavsdk/XmlReader.h"

#include <QString>

namespace MachineService::BuildProcessor {

namespace {

std::string ToId(const wchar_t* ip_property)
{
    return QString::fromWCharArray(ip_property).toStdString();
}

/// One in millimetres: numbers of the profile, with the one that is the default.
PlatformChoice MakeLengths(const wchar_t* ip_property, const char* ip_name, const std::vector<double>& i_lengths,
                           double i_default)
{
    PlatformChoice choice{ToId(ip_property), ip_name, false, {}};
    for (const double length : i_lengths) {
        const std::string text = TavSDK::NumberToText(length);
        choice.items.push_back({text, text + " mm", length == i_default});
    }
    return choice;
}

/// Those that are named in the profile.
template <class Named>
PlatformChoice MakeNames(const wchar_t* ip_property, const char* ip_name, const std::vector<Named>& i_all,
                         std::size_t i_default)
{
    PlatformChoice choice{ToId(ip_property), ip_name, false, {}};
    for (std::size_t index = 0; index < i_all.size(); ++index)
        choice.items.push_back({i_all[index].name, i_all[index].name, index == i_default});
    return choice;
}

} // namespace

std::vector<PlatformChoice> GetPlatformChoices(const MachineProfile& i_profile, const MachineProfile& i_defaults)
{
    const bool isResin = i_profile.technology == Technology::Sla;
    std::vector<PlatformChoice> choices;
    choices.push_back(MakeNames(PropertyName::Material, isResin ? "Resin" : "Material", i_profile.materials,
                                i_defaults.defaultMaterial));
    // What a machine is loaded with is nothing to guess: somebody looks at it and says so.
    choices.back().isRequired = true;
    choices.push_back(MakeLengths(PropertyName::LayerHeight, "Layer height", i_profile.layerHeights,
                                  i_defaults.layerHeights.front()));
    if (!i_profile.nozzles.empty())
        choices.push_back(MakeLengths(PropertyName::Nozzle, "Nozzle", i_profile.nozzles, i_defaults.nozzleDiameter));
    if (!i_profile.plates.empty())
        choices.push_back(MakeNames(PropertyName::Plate, "Plate type", i_profile.plates, i_defaults.defaultPlate));
    return choices;
}

} // namespace MachineService::BuildProcessor
