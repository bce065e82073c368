#pragma once

#include "machinelayer/RecordTree.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Every record is described once, by a function Describe(archive, record) that names its fields in the order in which
// they are written; of the archives here one reads nodes, one writes them, and one
// collects the names.

namespace MachineLayer {

/// What a number may be; never NaN or infinite.
struct Range
{
    double min;
    double max;
    bool isMinAllowed = true;

    bool Holds(double i_number) const;
    /// For example "between 0 and 360".
    std::string GetText() const;
};

/// Names of an enumeration's values, in their order, as an array "names".
template <class E>
struct Choices;

std::string WriteNumber(double i_number);
std::string WriteText(const std::wstring& i_text);
std::optional<double> ParseNumber(std::string_view i_text);
std::wstring ParseText(const std::string& i_text);
/// In quotes, cut off where it gets long.
std::string Shown(std::string_view i_text);

/// Writes records as nodes. \throws std::invalid_argument for a number beyond its range.
class NodeWriter
{
public:
    explicit NodeWriter(Node& io_node)
        : _node(io_node)
    {}

    void Text(const char* ip_name, const std::wstring& i_text)
    {
        if (!i_text.empty())
            _Add(ip_name, WriteText(i_text));
    }
    /// A text without which the record means nothing.
    void Name(const char* ip_name, const std::wstring& i_text)
    {
        if (i_text.empty())
            throw std::invalid_argument(_node.name + ": " + ip_name + " is missing.");
        Text(ip_name, i_text);
    }
    void Number(const char* ip_name, double i_number, const Range& i_range)
    {
        if (!i_range.Holds(i_number))
            throw std::invalid_argument(_node.name + ": " + ip_name + " is beyond its range.");
        _Add(ip_name, WriteNumber(i_number));
    }
    void Number(const char* ip_name, const std::optional<double>& i_number, const Range& i_range)
    {
        if (i_number)
            Number(ip_name, *i_number, i_range);
    }
    template <class E>
    void Choice(const char* ip_name, E i_value)
    {
        _Add(ip_name, Choices<E>::names.at(static_cast<std::size_t>(i_value)));
    }
    template <class E>
    void Choice(const char* ip_name, const std::optional<E>& i_value)
    {
        if (i_value)
            Choice(ip_name, *i_value);
    }
    template <class T>
    void Child(const char* ip_name, std::optional<T>& i_record)
    {
        if (i_record)
            _AddChild(ip_name, *i_record);
    }
    template <class T>
    void Children(const char* ip_name, std::vector<T>& i_records)
    {
        for (T& record : i_records)
            _AddChild(ip_name, record);
    }

private:
    void _Add(const char* ip_name, std::string i_text) { _node.attributes.emplace_back(ip_name, std::move(i_text)); }
    template <class T>
    void _AddChild(const char* ip_name, T& i_record);

    Node& _node;
};

/// Reads records from nodes. \throws std::invalid_argument that names element and attribute.
class NodeReader
{
public:
    explicit NodeReader(const Node& i_node)
        : _node(i_node)
    {}

    void Text(const char* ip_name, std::wstring& o_text)
    {
        if (const std::string* text = _Find(ip_name))
            o_text = ParseText(*text);
    }
    void Name(const char* ip_name, std::wstring& o_text)
    {
        Text(ip_name, o_text);
        if (o_text.empty())
            _Fail(ip_name, "is missing");
    }
    void Number(const char* ip_name, double& o_number, const Range& i_range)
    {
        std::optional<double> number;
        Number(ip_name, number, i_range);
        if (!number)
            _Fail(ip_name, "is missing");
        o_number = *number;
    }
    void Number(const char* ip_name, std::optional<double>& o_number, const Range& i_range)
    {
        const std::string* text = _Find(ip_name);
        if (text == nullptr)
            return;
        o_number = ParseNumber(*text);
        if (!o_number)
            _Fail(ip_name, Shown(*text) + " is not a number");
        if (!i_range.Holds(*o_number))
            _Fail(ip_name, Shown(*text) + " is not " + i_range.GetText());
    }
    template <class E>
    void Choice(const char* ip_name, std::optional<E>& o_value)
    {
        const std::string* text = _Find(ip_name);
        if (text == nullptr)
            return;
        for (std::size_t index = 0; index < Choices<E>::names.size(); ++index) {
            if (*text == Choices<E>::names[index]) {
                o_value = static_cast<E>(index);
                return;
            }
        }
        _Fail(ip_name, Shown(*text) + " is none of those possible");
    }
    template <class E>
    void Choice(const char* ip_name, E& o_value)
    {
        std::optional<E> value;
        Choice(ip_name, value);
        if (!value)
            _Fail(ip_name, "is missing");
        o_value = *value;
    }
    template <class T>
    void Child(const char* ip_name, std::optional<T>& o_record)
    {
        for (const Node& child : _node.children) {
            if (child.name != ip_name)
                continue;
            if (o_record)
                throw std::invalid_argument(std::string(ip_name) + " stands twice.");
            _Read(child, o_record.emplace());
        }
    }
    template <class T>
    void Children(const char* ip_name, std::vector<T>& o_records)
    {
        for (const Node& child : _node.children) {
            if (child.name == ip_name)
                _Read(child, o_records.emplace_back());
        }
    }

private:
    const std::string* _Find(std::string_view i_name) const;
    [[noreturn]] void _Fail(const char* ip_name, const std::string& i_reason) const;
    template <class T>
    void _Read(const Node& i_child, T& o_record);

    const Node& _node;
};

/// Collects the names of attributes and elements.
class SchemaBuilder
{
public:
    explicit SchemaBuilder(Schema& io_schema)
        : _schema(io_schema)
    {}

    void Text(const char* ip_name, std::wstring&) { _schema.attributes.emplace_back(ip_name); }
    void Name(const char* ip_name, std::wstring&) { _schema.attributes.emplace_back(ip_name); }
    template <class T>
    void Number(const char* ip_name, T&, const Range&)
    {
        _schema.attributes.emplace_back(ip_name);
    }
    template <class T>
    void Choice(const char* ip_name, T&)
    {
        _schema.attributes.emplace_back(ip_name);
    }
    template <class T>
    void Child(const char* ip_name, std::optional<T>&)
    {
        _AddChild<T>(ip_name, false);
    }
    template <class T>
    void Children(const char* ip_name, std::vector<T>&)
    {
        _AddChild<T>(ip_name, true);
    }

private:
    template <class T>
    void _AddChild(const char* ip_name, bool i_is_repeatable);

    Schema& _schema;
};

template <class T>
void SchemaBuilder::_AddChild(const char* ip_name, bool i_is_repeatable)
{
    Schema& child = _schema.children.emplace_back();
    child.name = ip_name;
    child.isRepeatable = i_is_repeatable;
    T record;
    SchemaBuilder builder(child);
    Describe(builder, record);
}

template <class T>
void NodeWriter::_AddChild(const char* ip_name, T& i_record)
{
    Node& child = _node.children.emplace_back();
    child.name = ip_name;
    NodeWriter writer(child);
    Describe(writer, i_record);
}

template <class T>
void NodeReader::_Read(const Node& i_child, T& o_record)
{
    NodeReader reader(i_child);
    Describe(reader, o_record);
}

} // namespace MachineLayer
