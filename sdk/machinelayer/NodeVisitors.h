#pragma once

#include "machinelayer/Choices.h"
#include "machinelayer/Node.h"

#include <concepts>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

// Every record is described once, by a function Describe(fields, record) that names its fields in the order of the
// formats. One of the visitors here makes the description from it, one writes records as nodes, and one reads them.
// A field has the first name in PLDF; in sections the second, or the first with a capital letter. The visitors that
// write and read know each field by its number among the calls, so that Describe() must make the same calls each time.

namespace MachineLayer {

template <class Record, class T>
concept Is = std::same_as<std::remove_const_t<Record>, T>;

template <class Record>
void CheckRules(const Node& i_node);

/// Makes the description of a record.
class DescriptionBuilder
{
public:
    static constexpr bool IsReader = false;

    DescriptionBuilder(Field& io_record, Format i_format)
        : _record(io_record)
        , _format(i_format)
    {}

    Format GetFormat() const { return _format; }

    /// A text that may be left out.
    void Text(const char* ip_name, const std::wstring&, const char* ip_tag = nullptr)
    {
        _Add(Field::Kind::Text, ip_name, ip_tag).isEmptyAllowed = _format == Format::Pldf;
    }
    /// A text without which the record means nothing.
    void Name(const char* ip_name, const std::wstring&, const char* ip_tag = nullptr)
    {
        _Add(Field::Kind::Text, ip_name, ip_tag).isRequired = true;
    }
    /// Any number of texts that are not empty.
    void Names(const char* ip_name, const std::vector<std::wstring>&)
    {
        const bool isAttribute = _format == Format::Pldf;
        Field& field = _Add(isAttribute ? Field::Kind::Record : Field::Kind::Text, ip_name, nullptr);
        field.isRepeatable = true;
        if (isAttribute)
            DescriptionBuilder(field, _format).Name("name", {});
    }
    template <class N>
    void Number(const char* ip_name, const N&, const Quantity& i_quantity, const char* ip_tag = nullptr)
    {
        Field& field = _Add(Field::Kind::Number, ip_name, ip_tag);
        field.quantity = &i_quantity;
        field.isRequired = std::is_same_v<N, double>;
    }
    template <class E>
    void Choice(const char* ip_name, const E&, const char* ip_tag = nullptr)
    {
        _AddChoice<E>(ip_name, ip_tag).isRequired = true;
    }
    template <class E>
    void Choice(const char* ip_name, const std::optional<E>&, const char* ip_tag = nullptr)
    {
        _AddChoice<E>(ip_name, ip_tag);
    }
    /// A record that may be left out.
    template <class T>
    void Child(const char* ip_name, const std::optional<T>&, const char* ip_tag = nullptr)
    {
        _Describe<T>(_Add(Field::Kind::Record, ip_name, ip_tag));
    }
    /// Any number of records.
    template <class T>
    void Children(const char* ip_name, const std::vector<T>&)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRepeatable = true;
        _Describe<T>(field);
    }
    /// The same, described otherwise than usual. i_describe(fields, record)
    template <class T, class Function>
    void ChildrenBy(const char* ip_name, const std::vector<T>&, const Function& i_describe)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRepeatable = true;
        DescriptionBuilder builder(field, _format);
        T record = {};
        i_describe(builder, record);
    }
    /// Any number of records with a key, which is the first of their fields.
    template <class K, class T>
    void Children(const char* ip_name, const std::map<K, T>&)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRepeatable = true;
        field.isKeyed = true;
        DescriptionBuilder builder(field, _format);
        K key = {};
        T record = {};
        Describe(builder, key, record);
    }
    /// An element around further fields of the record itself, which is always there. i_describe(fields)
    template <class Function>
    void Part(const char* ip_name, const Function& i_describe)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isRequired = true;
        DescriptionBuilder builder(field, _format);
        i_describe(builder);
    }
    /// The same, of which a record has at most one.
    template <class Function>
    void Alternative(const char* ip_name, bool, const Function& i_describe)
    {
        Field& field = _Add(Field::Kind::Record, ip_name, nullptr);
        field.isAlternative = true;
        DescriptionBuilder builder(field, _format);
        i_describe(builder);
    }
    /// A record that may be left out and has a namespace of its own: "/AM/MachineData/", its name, "/", year and month
    /// of its format.
    template <class T>
    void Section(const char* ip_path, const std::optional<T>&)
    {
        Field& field = _Add(Field::Kind::Record, GetName(ip_path), nullptr);
        field.path = ip_path;
        _Describe<T>(field);
    }
    /// What the fields cannot say one by one. i_is_kept()
    template <class Function>
    void Rule(const Function&, const char*)
    {
        _hasRule = true;
    }

    /// "Nesting" of "/AM/MachineData/Nesting/2023/03".
    static std::string GetName(std::string_view i_path);

private:
    Field& _Add(Field::Kind i_kind, std::string_view i_name, const char* ip_tag);
    std::string _Spell(std::string_view i_name) const;

    template <class E>
    Field& _AddChoice(const char* ip_name, const char* ip_tag)
    {
        Field& field = _Add(Field::Kind::Choice, ip_name, ip_tag);
        for (const char* name : Choices<E>::names)
            field.choices.push_back(_Spell(name));
        return field;
    }
    template <class T>
    void _Describe(Field& io_field)
    {
        DescriptionBuilder builder(io_field, _format);
        T record = {};
        Describe(builder, record);
        if (builder._hasRule)
            io_field.check = &CheckRules<T>;
    }

    Field& _record;
    Format _format;
    bool _hasRule = false;
};

/// Reads records from nodes that a NodeBuilder has made, which has held them to the description.
class NodeReader
{
public:
    static constexpr bool IsReader = true;

    explicit NodeReader(const Node& i_node)
        : _node(i_node)
    {}

    Format GetFormat() const;

    void Text(const char*, std::wstring& o_text, const char* = nullptr);
    void Name(const char*, std::wstring& o_text, const char* = nullptr) { Text(nullptr, o_text); }
    void Names(const char*, std::vector<std::wstring>& o_texts);
    template <class N>
    void Number(const char*, N& o_number, const Quantity& i_quantity, const char* = nullptr)
    {
        if (const Node* node = _Next())
            o_number = ParseNumber(node->text, i_quantity);
    }
    template <class E>
    void Choice(const char*, std::optional<E>& o_value, const char* = nullptr)
    {
        if (const Node* node = _Next())
            o_value = static_cast<E>(_GetChoice(*node));
    }
    template <class E>
    void Choice(const char*, E& o_value, const char* = nullptr)
    {
        if (const Node* node = _Next())
            o_value = static_cast<E>(_GetChoice(*node));
    }
    template <class T>
    void Child(const char*, std::optional<T>& o_record, const char* = nullptr)
    {
        if (const Node* node = _Next())
            _Read(*node, o_record.emplace());
    }
    template <class T>
    void Children(const char*, std::vector<T>& o_records)
    {
        _Each([&](const Node& i_child) { _Read(i_child, o_records.emplace_back()); });
    }
    template <class T, class Function>
    void ChildrenBy(const char*, std::vector<T>& o_records, const Function& i_describe)
    {
        _Each([&](const Node& i_child) {
            NodeReader reader(i_child);
            i_describe(reader, o_records.emplace_back());
        });
    }
    template <class K, class T>
    void Children(const char*, std::map<K, T>& o_records)
    {
        _Each([&](const Node& i_child) {
            std::pair<K, T> entry = {};
            NodeReader reader(i_child);
            Describe(reader, entry.first, entry.second);
            o_records.insert(std::move(entry));
        });
    }
    template <class Function>
    void Part(const char*, const Function& i_describe)
    {
        Alternative(nullptr, true, i_describe);
    }
    template <class Function>
    void Alternative(const char*, bool, const Function& i_describe)
    {
        if (const Node* node = _Next()) {
            NodeReader reader(*node);
            i_describe(reader);
        }
    }
    template <class T>
    void Section(const char*, std::optional<T>& o_record)
    {
        Child(nullptr, o_record);
    }
    template <class Function>
    void Rule(const Function& i_is_kept, const char* ip_sentence) const
    {
        if (!i_is_kept())
            throw FieldError(ip_sentence);
    }

private:
    const Node* _Next();
    void _Each(const std::function<void(const Node&)>& i_read);
    static std::size_t _GetChoice(const Node& i_node);

    template <class T>
    static void _Read(const Node& i_node, T& o_record)
    {
        NodeReader reader(i_node);
        Describe(reader, o_record);
    }

    const Node& _node;
    std::size_t _next = 0;
};

/// Writes records as nodes. All operations throw FieldError with place and reason for a value that cannot be written.
class NodeWriter
{
public:
    static constexpr bool IsReader = false;

    /// \param io_node its field says which record it is.
    /// \param i_is_xml refuse the texts that a reader of XML would.
    NodeWriter(Node& io_node, bool i_is_xml)
        : _node(io_node)
        , _isXml(i_is_xml)
    {}

    Format GetFormat() const;

    void Text(const char*, const std::wstring& i_text, const char* = nullptr)
    {
        const Field& field = _Next();
        if (!i_text.empty())
            _AddText(field, i_text, 0);
    }
    void Name(const char*, const std::wstring& i_text, const char* = nullptr) { _AddText(_Next(), i_text, 0); }
    void Names(const char*, const std::vector<std::wstring>& i_texts);
    void Number(const char*, double i_number, const Quantity& i_quantity, const char* = nullptr)
    {
        _AddNumber(_Next(), i_number, i_quantity);
    }
    void Number(const char*, const std::optional<double>& i_number, const Quantity& i_quantity, const char* = nullptr)
    {
        const Field& field = _Next();
        if (i_number)
            _AddNumber(field, *i_number, i_quantity);
    }
    template <class E>
    void Choice(const char*, const std::optional<E>& i_value, const char* = nullptr)
    {
        const Field& field = _Next();
        if (i_value)
            _AddChoice(field, static_cast<std::size_t>(*i_value));
    }
    template <class E>
    void Choice(const char*, const E& i_value, const char* = nullptr)
    {
        _AddChoice(_Next(), static_cast<std::size_t>(i_value));
    }
    template <class T>
    void Child(const char*, const std::optional<T>& i_record, const char* = nullptr)
    {
        const Field& field = _Next();
        if (i_record)
            _AddRecord(field, 0, [&](NodeWriter& io_fields) { Describe(io_fields, *i_record); });
    }
    template <class T>
    void Children(const char*, const std::vector<T>& i_records)
    {
        ChildrenBy(nullptr, i_records, [](NodeWriter& io_fields, const T& i_record) { Describe(io_fields, i_record); });
    }
    template <class T, class Function>
    void ChildrenBy(const char*, const std::vector<T>& i_records, const Function& i_describe)
    {
        const Field& field = _Next();
        std::size_t number = 0;
        for (const T& record : i_records)
            _AddRecord(field, ++number, [&](NodeWriter& io_fields) { i_describe(io_fields, record); });
    }
    template <class K, class T>
    void Children(const char*, const std::map<K, T>& i_records)
    {
        const Field& field = _Next();
        std::size_t number = 0;
        for (const auto& entry : i_records)
            _AddRecord(field, ++number, [&](NodeWriter& io_fields) { Describe(io_fields, entry.first, entry.second); });
    }
    template <class Function>
    void Part(const char*, const Function& i_describe)
    {
        _AddRecord(_Next(), 0, i_describe);
    }
    template <class Function>
    void Alternative(const char*, bool i_is_present, const Function& i_describe)
    {
        const Field& field = _Next();
        if (i_is_present)
            _AddRecord(field, 0, i_describe);
    }
    template <class T>
    void Section(const char*, const std::optional<T>& i_record)
    {
        Child(nullptr, i_record);
    }
    template <class Function>
    void Rule(const Function& i_is_kept, const char* ip_sentence) const
    {
        if (!i_is_kept())
            throw FieldError(_GetPlace() + ' ' + ip_sentence);
    }

private:
    const Field& _Next() { return _node.field->fields[_next++]; }
    Node& _Add(const Field& i_field);
    void _AddText(const Field& i_field, const std::wstring& i_text, std::size_t i_number);
    void _AddNumber(const Field& i_field, double i_number, const Quantity& i_quantity);
    void _AddChoice(const Field& i_field, std::size_t i_index);
    [[noreturn]] void _Fail(const Field& i_field, std::size_t i_number, const std::string& i_reason) const;
    std::string _GetPlace() const;

    template <class Function>
    void _AddRecord(const Field& i_field, std::size_t i_number, const Function& i_describe)
    {
        NodeWriter writer(_Add(i_field), _isXml);
        writer._parent = this;
        writer._number = i_number;
        i_describe(writer);
    }

    Node& _node;
    const bool _isXml;
    const NodeWriter* _parent = nullptr;
    std::size_t _number = 0; ///< from 1 on, of a record that may be repeated
    std::size_t _next = 0;
};

template <class Record>
void CheckRules(const Node& i_node)
{
    Record record = {};
    NodeReader reader(i_node);
    Describe(reader, record);
}

} // namespace MachineLayer
