#include "machineconfig/FieldWriter.h"

#include "tavsdk/XmlWriter.h"

#include <array>
#include <charconv>

namespace MachineService::ConfigurationFormat {

void FieldWriter::Number(std::string_view i_tag, double i_number, const Quantity& i_quantity)
{
    _Start(i_tag, 0);
    CheckNumber(i_number, i_quantity);
    if (_xml != nullptr) {
        // The shortest digits that give the same number again.
        std::array<char, 32> digits = {};
        const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), i_number).ptr;
        _xml->WriteAttribute("unit", i_quantity.unit);
        _xml->WriteCharacterData({digits.data(), static_cast<std::size_t>(end - digits.data())});
    }
    _End();
}

void FieldWriter::Name(std::string_view i_tag, const std::wstring& i_text, std::size_t i_index)
{
    _Start(i_tag, i_index);
    if (i_text.empty())
        throw FieldError("is empty");
    const std::string text = EncodeText(i_text);
    if (_xml != nullptr)
        _xml->WriteCharacterData(text);
    _End();
}

void FieldWriter::Names(std::string_view i_tag, const std::vector<std::wstring>& i_texts)
{
    std::size_t index = 0;
    for (const std::wstring& text : i_texts)
        Name(i_tag, text, ++index);
}

void FieldWriter::_Choice(std::string_view i_tag, std::string_view i_name)
{
    _Start(i_tag, 0);
    if (i_name.empty())
        throw FieldError("is none of the values that it can have");
    if (_xml != nullptr)
        _xml->WriteCharacterData(i_name);
    _End();
}

std::string FieldWriter::GetPlace() const
{
    std::string place;
    for (const OpenElement& element : _open) {
        if (!place.empty())
            place += '/';
        place += element.tag;
        if (element.index != 0)
            place += "[" + std::to_string(element.index) + "]";
    }
    return place;
}

void FieldWriter::_Start(std::string_view i_tag, std::size_t i_index, std::string_view i_namespace)
{
    _open.push_back({i_tag, i_index});
    if (_xml == nullptr)
        return;
    _xml->WriteStartTag(i_tag);
    if (!i_namespace.empty())
        _xml->WriteAttribute("xmlns", i_namespace);
}

void FieldWriter::_End()
{
    if (_xml != nullptr)
        _xml->WriteEndTag(_open.back().tag);
    _open.pop_back();
}

} // namespace MachineService::ConfigurationFormat
