#pragma once

#include "machinelayer/Choices.h"
#include "machinelayer/Node.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace MachineLayer {

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

template <class Record>
void CheckRules(const Node& i_node)
{
    Record record = {};
    NodeReader reader(i_node);
    Describe(reader, record);
}

} // namespace MachineLayer
