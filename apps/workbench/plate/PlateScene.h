#pragma once

#include "workbench/plate/PlateBed.h"

#include "tavam/Geometry.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Workbench {

/// What is drawn of a plate, as it was at one moment: whoever draws it need not be on the model's thread. The meshes
/// are shared and never change.
struct PlateScene
{
    struct Body
    {
        std::shared_ptr<const TavAM::Mesh> mesh;
        TavAM::Transform placement;
        bool isSelected = false; ///< the part that it belongs to
        bool hasProblem = false;
    };

    PlateBed bed;
    std::vector<Body> bodies;

    std::size_t CountTriangles() const
    {
        std::size_t triangles = 0;
        for (const Body& body : bodies)
            triangles += body.mesh->triangles.size();
        return triangles;
    }
};

} // namespace Workbench
