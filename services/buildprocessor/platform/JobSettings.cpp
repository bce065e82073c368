#include "buildprocessor/platform/JobSettings.h"

#include "buildprocessor/platform/PropertyNames.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <QString>

#include <optional>

namespace MachineService::BuildProcessor {

namespace {

/// Reads what a platform chose among the things that a machine offers.
class ChoiceReader
{
public:
    ChoiceReader(const TavAM::PersistentProperties& i_properties, std::vector<std::string>& io_notes)
        : _properties(i_properties)
        , _notes(io_notes)
    {}

    /// Index of the chosen item, i_default when nothing was chosen or the machine does not offer it.
    /// \param i_find from the property's text to the index.
    /// \param i_label from an index to what a note calls the item.
    template <class Find, class Label>
    std::size_t Read(const wchar_t* ip_name, const char* ip_what, std::size_t i_default, const Find& i_find,
                     const Label& i_label)
    {
        const auto text = _properties.GetText(ip_name);
        if (!text)
            return i_default;
        const QString value = QString::fromStdWString(*text);
        const std::optional<std::size_t> own = i_find(value);
        if (!own)
            _notes.push_back("The printer does not offer the platform's " + std::string(ip_what) + " '" +
                             value.left(100).toStdString() + "'; " + i_label(i_default) + " is used.");
        return own.value_or(i_default);
    }

private:
    const TavAM::PersistentProperties& _properties;
    std::vector<std::string>& _notes;
};

void ApplyChoices(const TavAM::Platform& i_platform, const MachineSettings& i_settings, MachineProfile& io_profile,
                  std::vector<std::string>& io_notes)
{
    ChoiceReader reader(i_platform.GetAMXProperties(), io_notes);
    const auto length = [&](auto i_find) {
        return [&io_profile, i_find](const QString& i_text) {
            bool isNumber = false;
            const double value = i_text.toDouble(&isNumber);
            return isNumber ? (io_profile.*i_find)(value) : std::nullopt;
        };
    };
    const auto name = [&](auto i_find) {
        return [&io_profile, i_find](const QString& i_text) {
            return (io_profile.*i_find)(i_text.toStdString());
        };
    };
    const auto millimetres = [](const std::vector<double>& i_lengths) {
        return [&i_lengths](std::size_t i_index) {
            return TavSDK::NumberToText(i_lengths[i_index]) + " mm";
        };
    };
    const auto quoted = [](const auto& i_items) {
        return [&i_items](std::size_t i_index) {
            return '\'' + i_items[i_index].name + '\'';
        };
    };
    const std::size_t height = reader.Read(
        PropertyName::LayerHeight, "layer height", io_profile.FindLayerHeight(i_settings.layerHeight).value_or(0),
        length(&MachineProfile::FindLayerHeight), millimetres(io_profile.layerHeights));
    io_profile.defaultMaterial =
        reader.Read(PropertyName::Material, "material",
                    io_profile.FindMaterial(i_settings.material).value_or(io_profile.defaultMaterial),
                    name(&MachineProfile::FindMaterial), quoted(io_profile.materials));
    if (!io_profile.nozzles.empty()) {
        const std::size_t nozzle =
            reader.Read(PropertyName::Nozzle, "nozzle", io_profile.FindNozzle(io_profile.nozzleDiameter).value_or(0),
                        length(&MachineProfile::FindNozzle), millimetres(io_profile.nozzles));
        io_profile.nozzleDiameter = io_profile.nozzles[nozzle];
    }
    if (!io_profile.plates.empty())
        io_profile.defaultPlate = reader.Read(PropertyName::Plate, "plate", io_profile.defaultPlate,
                                              name(&MachineProfile::FindPlate), quoted(io_profile.plates));
    std::swap(io_profile.layerHeights[0], io_profile.layerHeights[height]);
}

} // namespace

JobSettings SettleJobSettings(const MachineProfile& i_profile, const std::filesystem::path& i_settings_dir,
                              const TavAM::Platform& i_platform)
{
    JobSettings settings;
    settings.profile = i_profile;
    settings.machine = ReadMachineSettings(i_settings_dir, i_profile, settings.notes);
    ApplyChoices(i_platform, settings.machine, settings.profile, settings.notes);
    settings.rules = GetPlatformRules(i_platform, i_profile, settings.machine.clearances);
    settings.notes.insert(settings.notes.end(), settings.rules.notes.begin(), settings.rules.notes.end());
    // Of one setting the last counts.
    auto& engineSettings = settings.profile.engineSettings;
    engineSettings.insert(engineSettings.end(), settings.rules.engineSettings.begin(),
                          settings.rules.engineSettings.end());
    return settings;
}

void StoreJobSettings(const JobSettings& i_settings, TavAM::Platform& io_platform)
{
    const MachineProfile& profile = i_settings.profile;
    auto& properties = io_platform.GetAMXProperties();
    const auto set = [&](const wchar_t* ip_name, const std::string& i_text) {
        properties.SetText(ip_name, TavSDK::ToWide(i_text));
    };
    set(PropertyName::LayerHeight, TavSDK::NumberToText(profile.layerHeights.front()));
    set(PropertyName::Material, profile.GetDefaultMaterial().name);
    // What an earlier printer had and this one does not is nobody's choice any more.
    properties.Remove(PropertyName::Nozzle);
    properties.Remove(PropertyName::Plate);
    if (!profile.nozzles.empty())
        set(PropertyName::Nozzle, TavSDK::NumberToText(profile.nozzleDiameter));
    if (!profile.plates.empty())
        set(PropertyName::Plate, profile.plates[profile.defaultPlate].name);
}

} // namespace MachineService::BuildProcessor
