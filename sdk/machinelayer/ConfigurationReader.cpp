#include "machinelayer/ConfigurationReader.h"

namespace MachineLayer {

namespace {

constexpr std::string_view SchemaInstance = "http://www.w3.org/2001/XMLSchema-instance";

} // namespace

ConfigurationReader::Answer ConfigurationReader::_ReadRoot(std::string_view i_tag, const Attributes& i_attributes)
{
    const Field& document = GetConfigurationDescription();
    _namespaces.EnterElement(i_attributes);
    const XmlNamespaces::Name name = _namespaces.Resolve(i_tag);
    if (name.local != document.name)
        Fail("the document is a " + Quote(i_tag) + " and no " + Quote(document.name));
    _CheckVersion(document, name.nameSpace);
    if (name.nameSpace != MakeNamespace(document.path))
        Fail("the document's namespace is " + Quote(name.nameSpace) + " and not " +
             Quote(MakeNamespace(document.path)));
    _CheckAttributes(document, i_attributes);
    _openNamespaces.emplace_back(name.nameSpace);
    return Taken(&ConfigurationReader::_ReadElement, &ConfigurationReader::_EndElement);
}

ConfigurationReader::Answer ConfigurationReader::_ReadElement(std::string_view i_tag, const Attributes& i_attributes)
{
    if (++_elementCount > MostConfigurationElements)
        Fail("there are more than " + std::to_string(MostConfigurationElements) + " elements");
    _namespaces.EnterElement(i_attributes);
    const Field* const field = _Find(i_tag);
    if (field == nullptr) {
        _builder.Remark(i_tag, "is not known");
        _namespaces.LeaveElement();
        return NotTaken();
    }
    _CheckAttributes(*field, i_attributes);
    if (field->kind == Field::Kind::Record) {
        _openNamespaces.emplace_back(_namespaces.Resolve(i_tag).nameSpace);
        _hasSection = _hasSection || !field->path.empty();
        _Guard([&] { _builder.Open(*field); });
        return Taken(&ConfigurationReader::_ReadElement, &ConfigurationReader::_EndElement);
    }
    _namespaces.LeaveElement();
    if (std::string text; ReadValue(text)) {
        _RemarkStrayContent(field->name);
        _Guard([&] { _builder.SetText(*field, text); });
    }
    return Taken();
}

void ConfigurationReader::_EndElement()
{
    _RemarkStrayContent("");
    _Guard([this] { _builder.Close(); });
    _openNamespaces.pop_back();
    _namespaces.LeaveElement();
}

/// The field of the open record that the element is; null when it is not known.
const Field* ConfigurationReader::_Find(std::string_view i_tag)
{
    const XmlNamespaces::Name name = _namespaces.Resolve(i_tag);
    if (!name.isDeclared)
        Fail("the prefix of " + Quote(i_tag) + " stands for no namespace");
    const Field* const field = _builder.Find(name.local);
    if (field == nullptr)
        return nullptr;
    if (field->path.empty())
        return name.nameSpace == _openNamespaces.back() ? field : nullptr;
    _CheckVersion(*field, name.nameSpace);
    // Said rather than passed over: what was meant is plain.
    if (name.nameSpace == _openNamespaces.back())
        Fail(std::string(i_tag) + " does not say its namespace as xmlns=" + Quote(MakeNamespace(field->path)));
    return name.nameSpace == MakeNamespace(field->path) ? field : nullptr;
}

/// Lets pass the path's own version, and namespaces of other things.
void ConfigurationReader::_CheckVersion(const Field& i_field, std::string_view i_namespace)
{
    const std::string_view known = GetVersion(i_field.path);
    const std::string found(FindOtherVersion(i_namespace, i_field.path));
    if (found.empty())
        return;
    const std::string what = Quote(i_field.name) + " has the format of " + found;
    if (found > known)
        Fail(what + ", which is newer than this program: it reads the format of " + std::string(known));
    Fail(what + ", which is not known: this program reads the format of " + std::string(known));
}

void ConfigurationReader::_CheckAttributes(const Field& i_field, const Attributes& i_attributes)
{
    i_attributes.ForEach([&](std::string_view i_name, std::string_view) {
        if (i_name == "xmlns" || i_name.starts_with("xmlns:") || (i_name == "unit" && i_field.quantity != nullptr))
            return;
        // Where to find schemas does not matter to who has read them.
        const XmlNamespaces::Name name = _namespaces.ResolveAttribute(i_name);
        if (name.nameSpace != SchemaInstance || !name.local.ends_with("chemaLocation"))
            _builder.Remark(i_field.name, "has the attribute " + Quote(i_name) + ", which is not known");
    });
    // A number in another unit must not pass for one in ours.
    if (i_field.quantity == nullptr)
        return;
    if (const std::string_view unit = Trim(i_attributes.Get("unit")); unit != i_field.quantity->unit)
        _Guard([&] {
            _builder.Fail(i_field, "has the unit " + Quote(unit) + " and not " + Quote(i_field.quantity->unit));
        });
}

void ConfigurationReader::_RemarkStrayContent(std::string_view i_name)
{
    if (TakeStrayContent())
        _builder.Remark(i_name, "has content in or before it that is not known");
}

template <class Action>
void ConfigurationReader::_Guard(const Action& i_action)
{
    try {
        i_action();
    } catch (const FieldError& error) {
        Fail(error.what());
    }
}

} // namespace MachineLayer
