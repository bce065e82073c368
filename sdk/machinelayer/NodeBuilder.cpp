#include "machinelayer/NodeBuilder.h"

#include <algorithm>

namespace MachineLayer {

namespace {

constexpr std::size_t MostRemarks = 20;

std::size_t IndexOf(const Field& i_field, const Node& i_parent)
{
    return static_cast<std::size_t>(&i_field - i_parent.field->fields.data());
}

} // namespace

NodeBuilder::NodeBuilder(const Field& i_root)
{
    _root.field = &i_root;
    _open.push_back(_MakeOpen(_root));
}

NodeBuilder::OpenRecord NodeBuilder::_MakeOpen(Node& io_node)
{
    return {&io_node, std::vector<std::size_t>(io_node.field->fields.size()), {}};
}

const Field* NodeBuilder::Find(std::string_view i_name) const
{
    const auto& fields = _open.back().node->field->fields;
    const auto found =
        std::find_if(fields.begin(), fields.end(), [i_name](const Field& i_field) { return i_field.name == i_name; });
    return found == fields.end() ? nullptr : &*found;
}

void NodeBuilder::Open(const Field& i_field)
{
    // Only the innermost open record gets children, so pointers to the open ones stay valid.
    Node& node = _Add(i_field);
    _open.push_back(_MakeOpen(node));
}

void NodeBuilder::SetText(const Field& i_field, std::string_view i_text)
{
    Node& node = _Add(i_field);
    try {
        node.text = CheckText(i_field, i_text);
    } catch (const FieldError& error) {
        Fail(i_field, error.what());
    }
}

void NodeBuilder::Close()
{
    const OpenRecord closed = std::move(_open.back());
    _open.pop_back();
    const Field& record = *closed.node->field;
    const auto fail = [&](const std::string& i_reason) {
        if (_open.empty())
            throw FieldError(record.name + ' ' + i_reason);
        Fail(record, i_reason);
    };
    for (std::size_t index = 0; index < closed.counts.size(); ++index) {
        if (record.fields[index].isRequired && closed.counts[index] == 0)
            fail("lacks " + record.fields[index].name);
    }
    if (record.isKeyed) {
        const auto& children = closed.node->children;
        const auto key = std::find_if(children.begin(), children.end(), [&record](const Node& i_child) {
            return i_child.field == &record.fields.front();
        });
        const std::string text = key == children.end() ? std::string() : key->text;
        if (!_open.back().keys.emplace(&record, text).second)
            fail("has the " + record.fields.front().name + ' ' + Quote(text) + " of another");
    }
    if (!record.check)
        return;
    try {
        record.check(*closed.node);
    } catch (const FieldError& error) {
        fail(error.what());
    }
}

void NodeBuilder::Fail(const Field& i_field, const std::string& i_reason) const
{
    throw FieldError(_GetPlace() + _GetName(i_field, _open.back()) + ' ' + i_reason);
}

void NodeBuilder::Remark(std::string_view i_name, const std::string& i_reason)
{
    if (_remarks.size() < MostRemarks)
        _remarks.push_back(Quote(_GetPlace().append(i_name)) + ' ' + i_reason);
}

Node& NodeBuilder::_Add(const Field& i_field)
{
    OpenRecord& parent = _open.back();
    const std::size_t index = IndexOf(i_field, *parent.node);
    if (++parent.counts[index] > 1 && !i_field.isRepeatable)
        Fail(i_field, "appears twice");
    if (i_field.isAlternative && std::exchange(parent.hasAlternative, true))
        Fail(i_field, "is a second table");
    if (i_field.format == Format::Sections && std::exchange(parent.last, index) > index)
        Remark(i_field.name, "is not in its place");
    Node& node = parent.node->children.emplace_back();
    node.field = &i_field;
    return node;
}

std::string NodeBuilder::_GetName(const Field& i_field, const OpenRecord& i_parent)
{
    if (!i_field.isRepeatable)
        return i_field.name;
    return i_field.name + '[' + std::to_string(i_parent.counts[IndexOf(i_field, *i_parent.node)]) + ']';
}

std::string NodeBuilder::_GetPlace() const
{
    std::string place;
    for (std::size_t depth = 1; depth < _open.size(); ++depth)
        place += _GetName(*_open[depth].node->field, _open[depth - 1]) + '/';
    return place;
}

} // namespace MachineLayer
