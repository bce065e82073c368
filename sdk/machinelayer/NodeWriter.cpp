#include "machinelayer/NodeWriter.h"

#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"
#include "tavsdk/XmlReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace MachineLayer {

namespace {

std::string ToHexadecimal(wchar_t i_character)
{
    std::array<char, 8> digits = {};
    const auto value = static_cast<std::uint32_t>(i_character);
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr};
}

} // namespace

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
