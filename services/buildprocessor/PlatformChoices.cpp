#include "buildprocessor/PlatformChoices.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/MachineSettings.h"
#include "tavsdk/XmlReader.h"

#include <QString>

#include <algorithm>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view Namespace = "https://www.vexlor.example/BuildProcessor/2014";
constexpr std::size_t MaxBytes = 1'000'000;
constexpr std::size_t MaxNamedItems = 20;

std::string ToId(const wchar_t* ip_property)
{
    return QString::fromWCharArray(ip_property).toStdString();
}

std::string Quoted(const std::string& i_text)
{
    return '\'' + QString::fromStdString(i_text).left(100).toStdString() + '\'';
}

/// One in millimetres: numbers of the profile, with the one that is the default.
PlatformChoice MakeLengths(const wchar_t* ip_property, const char* ip_name, const std::vector<double>& i_lengths,
                           double i_default)
{
    PlatformChoice choice{ToId(ip_property), ip_name, false, {}};
    for (const double length : i_lengths) {
        const std::string text = ToNumberText(length);
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

std::string ListIds(const std::vector<PlatformChoice>& i_choices)
{
    std::string text;
    for (const PlatformChoice& choice : i_choices)
        text += (text.empty() ? "" : ", ") + choice.id;
    return text;
}

std::string ListItems(const PlatformChoice& i_choice)
{
    std::string text;
    for (std::size_t index = 0; index < std::min(i_choice.items.size(), MaxNamedItems); ++index)
        text += (text.empty() ? "" : ", ") + Quoted(i_choice.items[index].id);
    return i_choice.items.size() > MaxNamedItems ? text + " and others" : text;
}

class ParametersReader final : public TavSDK::XmlReader<ParametersReader>
{
public:
    explicit ParametersReader(ChosenValues& o_values)
        : XmlReader(&ParametersReader::_ReadRoot)
        , _values(o_values)
    {}

private:
    Answer _ReadRoot(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes)
    {
        if (i_name != "PlatformCreationParameters" || i_attributes.Get("xmlns") != Namespace)
            Fail("the document is not PlatformCreationParameters of " + std::string(Namespace));
        return Taken(&ParametersReader::_ReadParameter);
    }

    Answer _ReadParameter(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes)
    {
        if (i_name != "ParameterValue")
            return NotTaken();
        const std::string id(i_attributes.Get("id"));
        const auto [value, isNew] = _values.try_emplace(id);
        if (!isNew)
            Fail("there is more than one value of " + Quoted(id));
        ReadValue(value->second);
        return Taken();
    }

    ChosenValues& _values;
};

ChosenValues ReadValues(const std::string& i_parameters)
{
    constexpr auto damaged = "The platform creation parameters cannot be read: ";
    ChosenValues values;
    if (i_parameters.empty())
        return values;
    if (i_parameters.size() > MaxBytes)
        Fail(ErrorCode::FileError, damaged + ("they are larger than " + std::to_string(MaxBytes)) + " bytes.");
    ParametersReader reader(values);
    if (!reader.ParseText(i_parameters))
        Fail(ErrorCode::FileError, damaged + reader.GetError());
    std::erase_if(values, [](const auto& i_value) { return i_value.second.empty(); });
    return values;
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

ChosenValues ReadChosenValues(const std::string& i_parameters, const std::string& i_machine,
                              const std::vector<PlatformChoice>& i_choices)
{
    const std::string printer = "The printer " + Quoted(i_machine);
    ChosenValues values = ReadValues(i_parameters);
    for (const auto& [id, value] : values) {
        const auto choice = std::find_if(i_choices.begin(), i_choices.end(),
                                         [&id = id](const PlatformChoice& i_choice) { return i_choice.id == id; });
        if (choice == i_choices.end())
            Fail(ErrorCode::FileError,
                 printer + " does not offer the choice " + Quoted(id) + "; it has " + ListIds(i_choices) + '.');
        const bool isOffered =
            std::any_of(choice->items.begin(), choice->items.end(),
                        [&value = value](const PlatformChoice::Item& i_item) { return i_item.id == value; });
        if (!isOffered)
            Fail(ErrorCode::FileError, printer + " does not offer the value " + Quoted(value) + " of " + id +
                                           "; it has " + ListItems(*choice) + '.');
    }
    for (const PlatformChoice& choice : i_choices) {
        if (choice.isRequired && !values.contains(choice.id))
            Fail(ErrorCode::FileError,
                 printer + " needs a value of " + choice.id + "; it has " + ListItems(choice) + '.');
    }
    return values;
}

} // namespace MachineService::BuildProcessor
