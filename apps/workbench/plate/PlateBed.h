#pragma once

#include "tavam/Geometry.h"

#include <QString>

#include <vector>

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

/// A box that no part may enter.
struct PlateZone
{
    QString name;
    TavAM::BoundingBox box;
    bool operator==(const PlateZone& i_other) const
    {
        return name == i_other.name && box.min == i_other.box.min && box.max == i_other.box.max;
    }
};

/// Where a scene's parts are built. Units: mm, in the coordinates of the scene.
struct PlateBed
{
    double minX = -100;
    double minY = -100;
    double maxX = 100;
    double maxY = 100;
    double height = 200;
    bool isCircular = false; ///< the circle inscribed in the rectangle
    bool isKnown = false;    ///< false: nobody told, and what stands here is only something to look at
    QString machine;         ///< name; empty when there is none
    std::vector<PlateZone> zones;

    bool operator==(const PlateBed&) const = default;
    TavAM::BoundingBox GetBox() const { return {{minX, minY, 0}, {maxX, maxY, height}}; }
};

/// As the scene's platform was made for a machine; before there is one, as the attached printer tells.
/// Thread: UI thread.
PlateBed GetBed(VexlorCore::DataSet& io_scene);

} // namespace Workbench
