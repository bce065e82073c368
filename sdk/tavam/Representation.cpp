#include "tavam/Representation.h"

#include <algorithm>
#include <stdexcept>

namespace TavAM {

Representation Representation::FromMesh(std::shared_ptr<const Mesh> ip_mesh)
{
    if (!ip_mesh)
        throw std::runtime_error("mesh is nullptr");
    Representation representation;
    representation._kind = RepresentationKind::Mesh;
    representation._mesh = std::move(ip_mesh);
    return representation;
}

Representation Representation::FromImplicit(std::string i_definition)
{
    Representation representation;
    representation._kind = RepresentationKind::Implicit;
    representation._definition = std::move(i_definition);
    return representation;
}

Representation Representation::FromBrep(std::string i_definition)
{
    Representation representation;
    representation._kind = RepresentationKind::Brep;
    representation._definition = std::move(i_definition);
    return representation;
}

Representation Representation::FromMembers(std::vector<Representation> i_members)
{
    Representation representation;
    representation._members = std::move(i_members);
    return representation;
}

bool Representation::Holds(RepresentationKind i_kind) const
{
    return _kind == i_kind || std::any_of(_members.begin(), _members.end(),
                                          [i_kind](const Representation& i_member) { return i_member.Holds(i_kind); });
}

void Representation::ForEachMesh(const Transform& i_placement,
                                 const std::function<void(const Mesh&, const Transform&)>& i_visit) const
{
    const Transform placement = i_placement.After(_placement);
    if (_mesh)
        i_visit(*_mesh, placement);
    for (const Representation& member : _members)
        member.ForEachMesh(placement, i_visit);
}

bool Representation::operator==(const Representation& i_other) const
{
    if (_kind != i_other._kind || _placement != i_other._placement || _definition != i_other._definition)
        return false;
    const bool hasSameMesh = _mesh == i_other._mesh || (_mesh && i_other._mesh && *_mesh == *i_other._mesh);
    return hasSameMesh && _members == i_other._members;
}

} // namespace TavAM
