#pragma once

#include "tavam/Geometry.h"
#include "tavam_export.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace TavAM {

enum class RepresentationKind
{
    Mesh,
    Implicit,
    Brep,
    Composed,
};

/// Shape of a part: a mesh, an implicit or BREP definition, or members of any kind to any depth.
class TAVAM_EXPORT Representation
{
public:
    /// A composed representation without members.
    Representation() = default;
    static Representation FromMesh(std::shared_ptr<const Mesh> ip_mesh);
    /// \param i_definition bytes that only the host's modeller reads; carried unchanged.
    static Representation FromImplicit(std::string i_definition);
    static Representation FromBrep(std::string i_definition);
    static Representation FromMembers(std::vector<Representation> i_members);

    RepresentationKind GetKind() const { return _kind; }
    /// Null unless the kind is Mesh.
    const std::shared_ptr<const Mesh>& GetMesh() const { return _mesh; }
    const std::string& GetDefinition() const { return _definition; }
    const std::vector<Representation>& GetMembers() const { return _members; }
    /// Placement of this member within its owner; the identity for a part's own representation.
    const Transform& GetPlacement() const { return _placement; }
    void SetPlacement(const Transform& i_placement) { _placement = i_placement; }

    /// True when this is of the kind, or is composed and holds a member of the kind at any depth.
    bool Holds(RepresentationKind i_kind) const;
    /// All meshes in it with their placement from the members' own, outermost last; i_placement is applied after them.
    void ForEachMesh(const Transform& i_placement,
                     const std::function<void(const Mesh& i_mesh, const Transform& i_placement)>& i_visit) const;

    /// Compares meshes by content.
    bool operator==(const Representation& i_other) const;

private:
    RepresentationKind _kind = RepresentationKind::Composed;
    std::shared_ptr<const Mesh> _mesh;
    std::string _definition;
    std::vector<Representation> _members;
    Transform _placement;
};

} // namespace TavAM
