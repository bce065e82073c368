#include "machineconfig/ConfigurationReader.h"

#include "machineconfig/ConfigurationSections.h"

#include <algorithm>
#include <utility>

namespace MachineService::ConfigurationFormat {

namespace {

/// Far more than the largest machine has; a document of XML's own bounds could make millions of texts.
constexpr std::size_t LargestElementCount = 1'000'000;

std::string Quote(std::string_view i_text)
{
    return "\"" + std::string(i_text.substr(0, 200)) + "\"";
}

/// Whether the text is a year, a slash and a month.
bool IsVersion(std::string_view i_text)
{
    constexpr std::string_view Digits = "0123456789";
    return i_text.size() == 7 && i_text[4] == '/' && i_text.find_first_not_of(Digits) == 4 &&
           i_text.find_first_not_of(Digits, 5) == std::string_view::npos;
}

} // namespace

ConfigurationReader::Answer ConfigurationReader::_ReadRoot(std::string_view i_tag, const Attributes& i_attributes)
{
    if (i_tag != ConfigurationTag)
        Fail("the document is a " + Quote(i_tag) + " and no " + Quote(ConfigurationTag));
    _namespace = i_attributes.Get("xmlns");
    _CheckVersion(_namespace, ConfigurationPath);
    if (_namespace != MakeNamespace(ConfigurationPath))
        Fail("the document's namespace is " + Quote(_namespace) + " and not " +
             Quote(MakeNamespace(ConfigurationPath)));
    return Taken(&ConfigurationReader::_ReadSection);
}

ConfigurationReader::Answer ConfigurationReader::_ReadSection(std::string_view i_tag, const Attributes& i_attributes)
{
    const std::optional<std::string_view> ownNamespace = i_attributes.Find("xmlns");
    if (i_tag == MachineTag &&
        ownNamespace.value_or(MakeNamespace(ConfigurationPath)) == MakeNamespace(ConfigurationPath)) {
        if (std::exchange(_hasMachine, true))
            _FailAt(i_tag, "stands twice");
        _namespace = MakeNamespace(ConfigurationPath);
        DescribeMachine(_Open(i_tag), _configuration);
        return Taken(&ConfigurationReader::_ReadField, &ConfigurationReader::_EndElement);
    }
    const auto sections = ConfigurationSections();
    const std::string_view localName = i_tag.substr(i_tag.find(':') + 1);
    const auto found = std::find_if(sections.begin(), sections.end(), [&](const IConfigurationSection* ip_section) {
        return GetTag(ip_section->GetPath()) == localName;
    });
    if (found == sections.end())
        return NotTaken();
    const IConfigurationSection& section = **found;
    // Said rather than passed over: the section would be missing without a word.
    if (localName != i_tag || !ownNamespace)
        _FailAt(i_tag, "does not say its namespace as xmlns=" + Quote(MakeNamespace(section.GetPath())));
    _CheckVersion(*ownNamespace, section.GetPath());
    if (*ownNamespace != MakeNamespace(section.GetPath()))
        return NotTaken();
    if (section.Has(_configuration))
        _FailAt(i_tag, "stands twice");
    _namespace = *ownNamespace;
    section.Read(_configuration, _Open(i_tag));
    _hasSection = true;
    return Taken(&ConfigurationReader::_ReadField, &ConfigurationReader::_EndElement);
}

ConfigurationReader::Answer ConfigurationReader::_ReadField(std::string_view i_tag, const Attributes& i_attributes)
{
    if (i_attributes.Find("xmlns").value_or(_namespace) != _namespace)
        return NotTaken();
    if (++_elementCount > LargestElementCount)
        Fail("there are more than " + std::to_string(LargestElementCount) + " elements");
    const std::size_t depth = _open.size();
    try {
        FieldReader::Field* const field = _open.back().fields.Meet(i_tag);
        if (field == nullptr)
            return NotTaken();
        if (field->open) {
            field->open(_Open(i_tag));
            return Taken(&ConfigurationReader::_ReadField, &ConfigurationReader::_EndElement);
        }
        // A number in another unit must not pass for one in ours.
        if (!field->unit.empty() && i_attributes.Get("unit") != field->unit)
            _FailAt(i_tag, "has the unit " + Quote(i_attributes.Get("unit")) + " and not " + Quote(field->unit));
        if (std::string text; ReadValue(text))
            field->setText(text);
    } catch (const FieldError& error) {
        _open.resize(depth);
        _FailAt(i_tag, error.what());
    }
    return Taken();
}

void ConfigurationReader::_EndElement()
{
    const OpenElement element = std::move(_open.back());
    _open.pop_back();
    try {
        element.fields.Finish();
    } catch (const FieldError& error) {
        _FailAt(element.tag, error.what());
    }
}

FieldReader& ConfigurationReader::_Open(std::string_view i_tag)
{
    return _open.emplace_back(OpenElement{std::string(i_tag), {}}).fields;
}

/// Lets pass the path's own version, and namespaces of other things.
void ConfigurationReader::_CheckVersion(std::string_view i_namespace, std::string_view i_path)
{
    const std::string expected = MakeNamespace(i_path);
    const std::string_view version = GetVersion(i_path);
    const std::string_view family = std::string_view(expected).substr(0, expected.size() - version.size());
    if (i_namespace == expected || !i_namespace.starts_with(family))
        return;
    const std::string_view found = i_namespace.substr(family.size());
    if (!IsVersion(found))
        return;
    const std::string what = Quote(GetTag(i_path)) + " has the format of " + std::string(found);
    if (found > version)
        Fail(what + ", which is newer than this program: it reads the format of " + std::string(version));
    Fail(what + ", which is not known: this program reads the format of " + std::string(version));
}

/// Names the elements from the section down to the one that is wrong.
void ConfigurationReader::_FailAt(std::string_view i_tag, const std::string& i_reason)
{
    std::string place;
    for (const OpenElement& element : _open)
        place += element.tag + "/";
    Fail(place.append(i_tag) + " " + i_reason);
}

} // namespace MachineService::ConfigurationFormat
