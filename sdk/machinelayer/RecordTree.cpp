#include "machinelayer/RecordTree.h"

#include "tavsdk/Utf8.h"
#include "tavsdk/XmlReader.h"
#include "tavsdk/XmlWriter.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace MachineLayer {

namespace {

constexpr int FormatVersion = 1;
constexpr std::size_t MostNodes = 100'000;
constexpr char Namespace[] = "https://www.vexlor.example/MachineLayer/2026";

template <class Predicate>
const Schema* FindChild(const Schema& i_schema, const Predicate& i_predicate)
{
    const auto found = std::find_if(i_schema.children.begin(), i_schema.children.end(), i_predicate);
    return found != i_schema.children.end() ? &*found : nullptr;
}

/// Reads what a schema knows into nodes.
class TreeReader final : public TavSDK::XmlReader<TreeReader>
{
public:
    explicit TreeReader(const Schema& i_schema)
        : XmlReader(&TreeReader::_ReadRoot)
        , _schema(i_schema)
    {}

    Node Take(bool i_is_read)
    {
        if (!i_is_read)
            throw std::invalid_argument(GetError());
        if (_root.name.empty())
            throw std::invalid_argument("The root element is not " + _schema.name + ".");
        return std::move(_root);
    }

private:
    Answer _ReadRoot(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes)
    {
        if (i_name != _schema.name)
            return NotTaken();
        const std::string_view text = i_attributes.Get("version");
        int version = 0;
        const auto result = std::from_chars(text.data(), text.data() + text.size(), version);
        if (result.ec != std::errc() || result.ptr != text.data() + text.size() || version < 1)
            Fail("the version of the format is missing or is no number");
        if (version > FormatVersion) {
            Fail("the format has version " + std::to_string(version) + ", which is newer than version " +
                 std::to_string(FormatVersion) + " that this program reads");
        }
        _root.name = i_name;
        _open.push_back({&_root, &_schema});
        return Taken(&TreeReader::_ReadElement, &TreeReader::_EndElement);
    }

    Answer _ReadElement(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes)
    {
        if (++_count > MostNodes)
            Fail("there are more than " + std::to_string(MostNodes) + " elements");
        const Schema* schema =
            FindChild(*_open.back().schema, [i_name](const Schema& i_child) { return i_child.name == i_name; });
        if (schema == nullptr)
            return NotTaken();
        // Only the innermost open node gets children, so pointers to the open ones stay valid.
        Node& node = _open.back().node->children.emplace_back();
        node.name = i_name;
        for (const std::string& attribute : schema->attributes) {
            if (const auto text = i_attributes.Find(attribute))
                node.attributes.emplace_back(attribute, *text);
        }
        _open.push_back({&node, schema});
        return Taken(&TreeReader::_ReadElement, &TreeReader::_EndElement);
    }

    void _EndElement() { _open.pop_back(); }

    struct Open
    {
        Node* node;
        const Schema* schema;
    };

    const Schema& _schema;
    Node _root;
    std::vector<Open> _open;
    std::size_t _count = 0;
};

void Write(const Node& i_node, TavSDK::XmlWriter& io_writer)
{
    io_writer.WriteStartTag(i_node.name);
    for (const auto& [name, text] : i_node.attributes)
        io_writer.WriteAttribute(name, text);
    for (const Node& child : i_node.children)
        Write(child, io_writer);
    io_writer.WriteEndTag(i_node.name);
}

/// As an element is called in a flat name.
std::string FlatName(const std::string& i_name)
{
    std::string name = i_name;
    if (name.front() >= 'A' && name.front() <= 'Z')
        name.front() = static_cast<char>(name.front() - 'A' + 'a');
    return name;
}

void Flatten(const Node& i_node, const Schema& i_schema, const std::string& i_prefix,
             TavAM::PersistentProperties& io_values)
{
    const auto wide = [](const std::string& i_text) {
        return TavSDK::FromUtf8(i_text).value_or(std::wstring());
    };
    for (const auto& [name, text] : i_node.attributes)
        io_values.SetText(wide(i_prefix + name), wide(text));
    std::map<std::string, std::size_t> numbers;
    for (const Node& child : i_node.children) {
        const Schema* schema =
            FindChild(i_schema, [&child](const Schema& i_child) { return i_child.name == child.name; });
        if (schema == nullptr)
            continue;
        std::string path = i_prefix + FlatName(child.name);
        if (schema->isRepeatable)
            path += "." + std::to_string(++numbers[child.name]);
        Flatten(child, *schema, path + ".", io_values);
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

std::optional<std::size_t> ParseIndex(std::string_view i_text)
{
    std::size_t number = 0;
    const auto result = std::from_chars(i_text.data(), i_text.data() + i_text.size(), number);
    if (result.ec != std::errc() || result.ptr != i_text.data() + i_text.size() || number < 1 || number > MostNodes)
        return std::nullopt;
    return number;
}

/// One step of a flat name's way through the schema.
struct Step
{
    const Schema* schema;
    std::size_t number; ///< from 1 on
};

/// Empty when the schema has no such attribute.
std::vector<Step> FindWay(const std::vector<std::string_view>& i_segments, const Schema& i_schema)
{
    std::vector<Step> way;
    const Schema* schema = &i_schema;
    std::size_t index = 0;
    while (index + 1 < i_segments.size()) {
        schema = FindChild(*schema, [&](const Schema& i_child) { return FlatName(i_child.name) == i_segments[index]; });
        if (schema == nullptr)
            return {};
        ++index;
        std::size_t number = 1;
        if (schema->isRepeatable) {
            const auto parsed = ParseIndex(i_segments[index]);
            if (!parsed)
                return {};
            number = *parsed;
            if (++index == i_segments.size())
                return {};
        }
        way.push_back({schema, number});
    }
    const auto& attributes = schema->attributes;
    if (std::find(attributes.begin(), attributes.end(), i_segments.back()) == attributes.end())
        return {};
    return way;
}

/// Elements by number, whatever the order in which the names of their attributes arrive.
struct Sprout
{
    Node node;
    std::map<std::pair<const Schema*, std::size_t>, Sprout> children;
};

Node Ripen(Sprout i_sprout, const std::string& i_path)
{
    Node node = std::move(i_sprout.node);
    std::map<const Schema*, std::size_t> counts;
    for (auto& [key, child] : i_sprout.children) {
        const auto& [schema, number] = key;
        const std::string path = i_path + FlatName(schema->name);
        if (++counts[schema] != number) {
            throw std::invalid_argument(path + "." + std::to_string(number) + " is there without " + path + "." +
                                        std::to_string(number - 1) + ".");
        }
        child.node.name = schema->name;
        node.children.push_back(Ripen(std::move(child), path + "."));
    }
    return node;
}

template <class Input>
Node Read(const Input& i_input, const Schema& i_schema)
{
    TreeReader reader(i_schema);
    if constexpr (std::is_same_v<Input, std::string_view>)
        return reader.Take(reader.ParseText(i_input));
    else
        return reader.Take(reader.Parse(i_input.wstring()));
}

} // namespace

Node ReadDocument(std::string_view i_document, const Schema& i_schema)
{
    return Read(i_document, i_schema);
}

Node ReadDocument(const std::filesystem::path& i_path, const Schema& i_schema)
{
    return Read(i_path, i_schema);
}

std::string WriteDocument(const Node& i_root)
{
    TavSDK::XmlWriter writer;
    writer.OpenText();
    writer.WriteStartTag(i_root.name);
    writer.WriteAttribute("xmlns", Namespace);
    writer.WriteAttribute("version", std::to_string(FormatVersion));
    for (const Node& child : i_root.children)
        Write(child, writer);
    writer.WriteEndTag(i_root.name);
    writer.Close();
    return writer.TakeText();
}

void FlattenTree(const Node& i_root, const Schema& i_schema, TavAM::PersistentProperties& io_values)
{
    Flatten(i_root, i_schema, std::string(), io_values);
}

Node GrowTree(const TavAM::PersistentProperties& i_values, const Schema& i_schema,
              std::map<std::wstring, std::wstring>& o_rest)
{
    Sprout root;
    for (const auto& [name, text] : i_values.GetAll()) {
        const std::string flatName = TavSDK::ToUtf8(name);
        const std::vector<std::string_view> segments = Split(flatName);
        const std::vector<Step> way = FindWay(segments, i_schema);
        if (way.empty()) {
            o_rest.emplace(name, text.value_or(std::wstring()));
            continue;
        }
        Sprout* sprout = &root;
        for (const Step& step : way)
            sprout = &sprout->children[{step.schema, step.number}];
        // A property without a defined value is one that the machine does not have.
        if (text)
            sprout->node.attributes.emplace_back(segments.back(), TavSDK::ToUtf8(*text));
    }
    return Ripen(std::move(root), std::string());
}

} // namespace MachineLayer
