#pragma once

#include "machinelayer/Choices.h"
#include "machinelayer/Node.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineLayer {

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

} // namespace MachineLayer
