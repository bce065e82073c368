#include "machinelayer/NodeVisitors.h"

#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"
#include "tavsdk/XmlReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace MachineLayer {

namespace {

constexpr std::size_t VersionSize = std::string_view("/2022/09").size();

std::string ToHexadecimal(wchar_t i_character)
{
    std::array<char, 8> digits = {};
    const auto value = static_cast<std::uint32_t>(i_character);
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr};
}

} // namespace

std::string DescriptionBuilder::GetName(std::string_view i_path)
{
    i_path.remove_suffix(VersionSize);
    return std::string(i_path.substr(i_path.rfind('/') + 1));
}

Field& DescriptionBuilder::_Add(Field::Kind i_kind, std::string_view i_name, const char* ip_tag)
{
    Field& field = _record.fields.emplace_back();
    field.kind = i_kind;
    field.format = _format;
    field.name = ip_tag && _format == Format::Sections ? std::string(ip_tag) : _Spell(i_name);
    return field;
}

std::string DescriptionBuilder::_Spell(std::string_view i_name) const
{
    std::string name(i_name);
    if (_format == Format::Sections && name.front() >= 'a' && name.front() <= 'z')
        name.front() = static_cast<char>(name.front() - 'a' + 'A');
    return name;
}

Format NodeReader::GetFormat() const
{
    return _node.field->format;
}

void NodeReader::Text(const char*, std::wstring& o_text, const char*)
{
    if (const Node* node = _Next())
        o_text = TavSDK::ToWide(node->text);
}

void NodeReader::Names(const char*, std::vector<std::wstring>& o_texts)
{
    _Each([&](const Node& i_child) {
        o_texts.push_back(TavSDK::ToWide(i_child.children.empty() ? i_child.text : i_child.children.front().text));
    });
}

/// Of the next field; null when the record has none.
const Node* NodeReader::_Next()
{
    const Field& field = _node.field->fields[_next++];
    const auto found = std::find_if(_node.children.begin(), _node.children.end(),
                                    [&field](const Node& i_child) { return i_child.field == &field; });
    return found == _node.children.end() ? nullptr : &*found;
}

void NodeReader::_Each(const std::function<void(const Node&)>& i_read)
{
    const Field& field = _node.field->fields[_next++];
    for (const Node& child : _node.children) {
        if (child.field == &field)
            i_read(child);
    }
}

std::size_t NodeReader::_GetChoice(const Node& i_node)
{
    const auto& choices = i_node.field->choices;
    return static_cast<std::size_t>(std::find(choices.begin(), choices.end(), i_node.text) - choices.begin());
}

Format NodeWriter::GetFormat() const
{
    return _node.field->format;
}

void NodeWriter::Names(const char*, const std::vector<std::wstring>& i_texts)
{
    const Field& field = _Next();
    std::size_t number = 0;
    for (const std::wstring& text : i_texts) {
        ++number;
        if (field.kind == Field::Kind::Record)
            _AddRecord(field, number, [&text](NodeWriter& io_fields) { io_fields.Name("name", text); });
        else
            _AddText(field, text, number);
    }
}

Node& NodeWriter::_Add(const Field& i_field)
{
    Node& node = _node.children.emplace_back();
    node.field = &i_field;
    return node;
}

void NodeWriter::_AddText(const Field& i_field, const std::wstring& i_text, std::size_t i_number)
{
    if (i_text.empty())
        _Fail(i_field, i_number, "is empty");
    if (_isXml) {
        const auto bad = std::find_if(i_text.begin(), i_text.end(), [](wchar_t i_character) {
            return !TavSDK::IsXmlCharacter(static_cast<char32_t>(i_character));
        });
        if (bad != i_text.end())
            _Fail(i_field, i_number,
                  "holds the character with the hexadecimal number " + ToHexadecimal(*bad) +
                      ", which XML cannot carry");
    }
    std::string& text = _Add(i_field).text;
    text = TavSDK::ToUtf8(i_text);
    if (_isXml && text.size() > TavSDK::XmlBounds::Text)
        _Fail(i_field, i_number, "is longer than " + std::to_string(TavSDK::XmlBounds::Text) + " bytes");
}

void NodeWriter::_AddNumber(const Field& i_field, double i_number, const Quantity& i_quantity)
{
    try {
        CheckNumber(i_number, i_quantity);
    } catch (const FieldError& error) {
        _Fail(i_field, 0, error.what());
    }
    _Add(i_field).text = TavSDK::NumberToText(i_number);
}

void NodeWriter::_AddChoice(const Field& i_field, std::size_t i_index)
{
    if (i_index >= i_field.choices.size())
        _Fail(i_field, 0, "is none of the values that it can have");
    _Add(i_field).text = i_field.choices[i_index];
}

void NodeWriter::_Fail(const Field& i_field, std::size_t i_number, const std::string& i_reason) const
{
    std::string place = _GetPlace();
    place.append(place.empty() ? "" : "/").append(i_field.name);
    if (i_number != 0)
        place += '[' + std::to_string(i_number) + ']';
    throw FieldError(place + ' ' + i_reason);
}

/// Without the root.
std::string NodeWriter::_GetPlace() const
{
    if (!_parent)
        return {};
    std::string place = _parent->_GetPlace();
    place.append(place.empty() ? "" : "/").append(_node.field->name);
    if (_number != 0)
        place += '[' + std::to_string(_number) + ']';
    return place;
}

} // namespace MachineLayer
