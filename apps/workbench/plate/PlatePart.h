#pragma once

#include "tavam/Geometry.h"

#include <boost/uuid/uuid.hpp>

#include <QString>

#include <memory>
#include <vector>

namespace Workbench {

/// A mesh of a part, and where it stands.
struct PlateBody
{
    std::shared_ptr<const TavAM::Mesh> mesh;
    TavAM::Transform placement;
    bool operator==(const PlateBody&) const = default;
};

/// A part as the plate shows it: meshes are shared with the scene, nothing else is. Units: mm.
struct PlatePart
{
    boost::uuids::uuid id = {};
    QString name;
    std::vector<PlateBody> bodies;
    TavAM::BoundingBox box; ///< as it stands; empty without a mesh
    bool isSelected = false;
    bool hasProblem = false;
};

} // namespace Workbench
