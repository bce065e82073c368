#pragma once

#include "machinelayer/Node.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineLayer {

/// Grows a tree of nodes, as a document or a list of parameters gives them, and holds it to its description.
///
/// All operations but Find() and Take() throw FieldError, which begins with the place, for example
/// "Nesting/NoBuildZone[2]/MinX".
class NodeBuilder
{
public:
    explicit NodeBuilder(const Field& i_root);
    NodeBuilder(const NodeBuilder&) = delete;
    NodeBuilder& operator=(const NodeBuilder&) = delete;

    /// A field of the innermost open record; null when it has none of that name.
    const Field* Find(std::string_view i_name) const;
    /// \param i_field a record among the fields of the innermost open one.
    void Open(const Field& i_field);
    void SetText(const Field& i_field, std::string_view i_text);
    /// Of the innermost open record.
    void Close();

    /// \throws FieldError with the place of a field of the innermost open record.
    [[noreturn]] void Fail(const Field& i_field, const std::string& i_reason) const;
    /// Something that is passed over, or is elsewhere than it should be: kept as a remark.
    void Remark(std::string_view i_name, const std::string& i_reason);

    Node Take() { return std::move(_root); }
    /// A sentence each without its full stop; not more than a few of them.
    std::vector<std::string> TakeRemarks() { return std::move(_remarks); }

private:
    struct OpenRecord
    {
        Node* node;
        std::vector<std::size_t> counts; ///< of each field
        std::set<std::pair<const Field*, std::string>> keys;
        bool hasAlternative = false;
        std::size_t last = 0; ///< index of the field that came last
    };

    static OpenRecord _MakeOpen(Node& io_node);
    Node& _Add(const Field& i_field);
    static std::string _GetName(const Field& i_field, const OpenRecord& i_parent);
    /// Of the records that are open, without the root, with a slash behind each.
    std::string _GetPlace() const;

    Node _root;
    std::vector<OpenRecord> _open;
    std::vector<std::string> _remarks;
};

} // namespace MachineLayer
