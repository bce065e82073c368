#include "machineconfig/FieldReader.h"

#include "tavsdk/Utf8.h"

#include <algorithm>

namespace MachineService::ConfigurationFormat {

namespace {

std::wstring DecodeText(std::string_view i_text)
{
    std::optional<std::wstring> text = TavSDK::FromUtf8(i_text);
    if (!text)
        throw FieldError("is not UTF-8");
    return std::move(*text);
}

} // namespace

void FieldReader::Number(std::string_view i_tag, double& o_number, const Quantity& i_quantity)
{
    Field& field = _Add(i_tag, Count::One);
    field.unit = i_quantity.unit;
    field.setText = [&o_number, &i_quantity](std::string_view i_text) {
        o_number = ParseNumber(i_text, i_quantity);
    };
}

void FieldReader::Number(std::string_view i_tag, std::optional<double>& o_number, const Quantity& i_quantity)
{
    Field& field = _Add(i_tag, Count::OneAtMost);
    field.unit = i_quantity.unit;
    field.setText = [&o_number, &i_quantity](std::string_view i_text) {
        o_number = ParseNumber(i_text, i_quantity);
    };
}

void FieldReader::Text(std::string_view i_tag, std::wstring& o_text)
{
    _Add(i_tag, Count::OneAtMost).setText = [&o_text](std::string_view i_text) {
        o_text = DecodeText(i_text);
    };
}

void FieldReader::Name(std::string_view i_tag, std::wstring& o_text)
{
    _Add(i_tag, Count::One).setText = [&o_text](std::string_view i_text) {
        o_text = DecodeText(i_text);
        if (o_text.empty())
            throw FieldError("is empty");
    };
}

void FieldReader::Names(std::string_view i_tag, std::vector<std::wstring>& o_texts)
{
    _Add(i_tag, Count::Any).setText = [&o_texts](std::string_view i_text) {
        o_texts.push_back(DecodeText(i_text));
        if (o_texts.back().empty())
            throw FieldError("is empty");
    };
}

FieldReader::Field* FieldReader::Meet(std::string_view i_tag)
{
    const auto field =
        std::find_if(_fields.begin(), _fields.end(), [i_tag](const Field& i_field) { return i_field.tag == i_tag; });
    if (field == _fields.end())
        return nullptr;
    if (field->isSeen && !field->isRepeatable)
        throw FieldError("stands twice");
    field->isSeen = true;
    return &*field;
}

void FieldReader::Finish() const
{
    for (const Field& field : _fields) {
        if (field.isRequired && !field.isSeen)
            throw FieldError("lacks " + std::string(field.tag));
    }
    for (const auto& rule : _rules)
        rule();
}

FieldReader::Field& FieldReader::_Add(std::string_view i_tag, Count i_count)
{
    Field field;
    field.tag = i_tag;
    field.isRequired = i_count == Count::One;
    field.isRepeatable = i_count == Count::Any;
    return _fields.emplace_back(std::move(field));
}

std::size_t FieldReader::_FindChoice(const std::string_view* ip_names, std::size_t i_count, std::string_view i_text)
{
    const std::string_view text = Trimmed(i_text);
    const std::string_view* const end = ip_names + i_count;
    const std::string_view* const name = std::find(ip_names, end, text);
    if (name != end)
        return static_cast<std::size_t>(name - ip_names);
    std::string possible;
    for (const std::string_view* candidate = ip_names; candidate != end; ++candidate)
        possible.append(possible.empty() ? "" : ", ").append(*candidate);
    throw FieldError("is \"" + std::string(text.substr(0, 40)) + "\", which is none of " + possible);
}

} // namespace MachineService::ConfigurationFormat
