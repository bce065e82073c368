#include "machinelayer/NodeReader.h"

#include "tavsdk/Utf8.h"

#include <algorithm>

namespace MachineLayer {

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

} // namespace MachineLayer
