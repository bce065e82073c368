#include "machinelayer/ParameterNames.h"

#include "machinelayer/NodeBuilder.h"
#include "machinelayer/PldfXml.h"

#include "tavsdk/Utf8.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

namespace MachineLayer {

namespace {

/// Settings keep their own names among parameters, and three parameters have members of their own.
bool IsParameter(const Field& i_record, const Field& i_field)
{
    if (i_record.name == "Machine")
        return i_field.name != "name" && i_field.name != "manufacturer" && i_field.name != "modelId";
    return i_field.name != "Setting";
}

/// As an element or attribute is called in a flat name.
std::string FlatName(const Field& i_field)
{
    std::string name = i_field.name;
    if (name.front() >= 'A' && name.front() <= 'Z')
        name.front() = static_cast<char>(name.front() - 'A' + 'a');
    return name;
}

void Flatten(const Node& i_node, const std::string& i_prefix, TavAM::PersistentProperties& io_values)
{
    std::map<const Field*, std::size_t> numbers;
    for (const Node& child : i_node.children) {
        if (!IsParameter(*i_node.field, *child.field))
            continue;
        std::string path = i_prefix + FlatName(*child.field);
        if (child.field->isRepeatable)
            path += "." + std::to_string(++numbers[child.field]);
        if (child.field->kind == Field::Kind::Record)
            Flatten(child, path + ".", io_values);
        else
            io_values.SetText(TavSDK::ToWide(path), TavSDK::ToWide(child.text));
    }
}

std::vector<std::string_view> Split(std::string_view i_name)
{
    std::vector<std::string_view> segments;
    for (;;) {
        const std::size_t point = i_name.find('.');
        segments.push_back(i_name.substr(0, point));
        if (point == std::string_view::npos)
            return segments;
        i_name.remove_prefix(point + 1);
    }
}

std::optional<std::size_t> ParseNumberOfRecord(std::string_view i_text)
{
    std::size_t number = 0;
    const auto result = std::from_chars(i_text.data(), i_text.data() + i_text.size(), number);
    if (result.ec != std::errc() || result.ptr != i_text.data() + i_text.size() || number < 1 ||
        number > MostPldfElements)
        return std::nullopt;
    return number;
}

/// One step of a flat name's way through the description, the last one to a field.
struct Step
{
    const Field* field;
    std::size_t number; ///< from 1 on

    auto operator<=>(const Step&) const = default;
};

/// Empty when there is no such field.
std::vector<Step> FindWay(const std::vector<std::string_view>& i_segments)
{
    std::vector<Step> way;
    const Field* record = &GetPldfDescription();
    for (std::size_t index = 0; index < i_segments.size(); ++index) {
        const auto found = std::find_if(record->fields.begin(), record->fields.end(), [&](const Field& i_field) {
            return IsParameter(*record, i_field) && FlatName(i_field) == i_segments[index];
        });
        const bool isLast = index + 1 == i_segments.size();
        if (found == record->fields.end() || (found->kind == Field::Kind::Record) == isLast)
            return {};
        std::optional<std::size_t> number = 1;
        if (found->isRepeatable && ++index < i_segments.size())
            number = ParseNumberOfRecord(i_segments[index]);
        if (!number || (found->kind == Field::Kind::Record && index + 1 == i_segments.size()))
            return {};
        record = &*found;
        way.push_back({record, *number});
    }
    return way;
}

/// Records and fields by number, whatever the order in which their names arrive.
struct Sprout
{
    std::string name; ///< of the property
    std::string text;
    std::map<Step, Sprout> children;
};

void Grow(const Sprout& i_sprout, const std::string& i_path, NodeBuilder& io_builder)
{
    std::map<const Field*, std::size_t> counts;
    for (const auto& [step, child] : i_sprout.children) {
        const Field& field = *step.field;
        const std::string path = i_path + FlatName(field);
        if (++counts[&field] != step.number) {
            throw FieldError(path + "." + std::to_string(step.number) + " is there without " + path + "." +
                             std::to_string(step.number - 1));
        }
        if (field.kind == Field::Kind::Record) {
            io_builder.Open(field);
            Grow(child, field.isRepeatable ? path + '.' + std::to_string(step.number) + '.' : path + '.', io_builder);
            io_builder.Close();
            continue;
        }
        try {
            io_builder.SetText(field, child.text);
        } catch (const FieldError& error) {
            throw FieldError(child.name + ": " + error.what());
        }
    }
}

} // namespace

void FlattenMachine(const Node& i_root, TavAM::PersistentProperties& io_values)
{
    Flatten(i_root, std::string(), io_values);
}

Node GrowMachine(const TavAM::PersistentProperties& i_values, std::map<std::wstring, std::wstring>& o_rest)
{
    Sprout root;
    for (const auto& [name, text] : i_values.GetAll()) {
        const std::string flatName = TavSDK::ToUtf8(name);
        std::vector<Step> way = FindWay(Split(flatName));
        if (way.empty()) {
            o_rest.emplace(name, text.value_or(std::wstring()));
            continue;
        }
        // A property without a defined value is one that the machine does not have.
        if (!text)
            way.pop_back();
        Sprout* sprout = &root;
        for (const Step& step : way)
            sprout = &sprout->children[step];
        if (text) {
            sprout->name = flatName;
            sprout->text = TavSDK::ToUtf8(*text);
        }
    }
    NodeBuilder builder(GetPldfDescription());
    Grow(root, std::string(), builder);
    builder.Close();
    return builder.Take();
}

} // namespace MachineLayer
