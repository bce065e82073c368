#include "contract/PlatformChoices.h"

#include "contract/Failure.h"
#include "tavsdk/Text.h"
#include "tavsdk/XmlReader.h"
#include "tavsdk/XmlWriter.h"

#include <algorithm>
#include <string_view>

namespace MachineService {

namespace {

constexpr std::string_view Namespace = "https://www.vexlor.example/BuildProcessor/2014";
constexpr std::size_t MaxBytes = 1'000'000;
constexpr std::size_t MaxNamedItems = 20;
constexpr std::size_t MaxQuotedBytes = 100;

std::string Quoted(const std::string& i_text)
{
    return TavSDK::Quote(i_text, MaxQuotedBytes);
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

void WriteElement(TavSDK::XmlWriter& io_writer, const char* ip_name, const std::string& i_text)
{
    io_writer.WriteStartTag(ip_name);
    io_writer.WriteCharacterData(i_text);
    io_writer.WriteEndTag(ip_name);
}

void WriteChoice(TavSDK::XmlWriter& io_writer, const PlatformChoice& i_choice)
{
    io_writer.WriteStartTag("Choice");
    io_writer.WriteAttribute("id", i_choice.id);
    io_writer.WriteAttribute("name", i_choice.name);
    if (i_choice.isRequired)
        io_writer.WriteAttribute("isRequired", "true");
    for (const PlatformChoice::Item& item : i_choice.items) {
        io_writer.WriteStartTag("Item");
        io_writer.WriteAttribute("id", item.id);
        io_writer.WriteAttribute("name", item.name);
        if (item.isDefault)
            io_writer.WriteAttribute("isDefault", "true");
        io_writer.WriteEndTag("Item");
    }
    io_writer.WriteEndTag("Choice");
}

} // namespace

std::string WritePlatformInformation(const PlatformDescription& i_description)
{
    TavSDK::XmlWriter writer;
    writer.OpenText();
    writer.WriteStartTag("PlatformInformation");
    WriteElement(writer, "Name", i_description.name);
    WriteElement(writer, "Comment", i_description.comment);
    writer.WriteStartTag("Materials");
    for (const std::string& material : i_description.materials) {
        writer.WriteStartTag("Material");
        writer.WriteAttribute("name", material);
        writer.WriteEndTag("Material");
    }
    writer.WriteEndTag("Materials");
    writer.WriteStartTag("Parameters");
    for (const PlatformChoice& choice : i_description.choices)
        WriteChoice(writer, choice);
    writer.WriteEndTag("Parameters");
    writer.WriteEndTag("PlatformInformation");
    writer.Close();
    return writer.TakeText();
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

} // namespace MachineService
