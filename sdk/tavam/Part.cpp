#include "tavam/Part.h"

#include <boost/uuid/random_generator.hpp>

namespace TavAM {

Part::Part()
    : _revisionId(boost::uuids::random_generator()())
{}

BoundingBox Part::GetBoundingBox() const
{
    BoundingBox box;
    _representation.ForEachMesh(_placement, [&box](const Mesh& i_mesh, const Transform& i_placement) {
        box.Add(TavAM::GetBoundingBox(i_mesh, i_placement));
    });
    return box;
}

} // namespace TavAM
