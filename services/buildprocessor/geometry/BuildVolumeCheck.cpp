#include "buildprocessor/geometry/BuildVolumeCheck.h"

#include "buildprocessor/base/NameList.h"
#include "contract/Failure.h"
#include "tavsdk/Text.h"

#include <algorithm>
#include <cmath>

namespace MachineService::BuildProcessor {

namespace {

bool LeavesVolume(const MachineProfile& i_profile, const PartGeometry& i_part)
{
    return std::any_of(i_part.vertices.begin(), i_part.vertices.end(), [&](const TavAM::Point3d& i_point) {
        // Said this way round, so that what is no number is outside.
        return !(i_point.z >= -VolumeTolerance && i_point.z <= i_profile.height + VolumeTolerance) ||
               !IsOnBed(i_profile.bed, i_point.x, i_point.y);
    });
}

} // namespace

bool IsOnBed(const Bed& i_bed, double i_x, double i_y, double i_tolerance)
{
    if (i_bed.shape == BedShape::Circle)
        return std::hypot(i_x - i_bed.centre.x, i_y - i_bed.centre.y) <= i_bed.diameter / 2 + i_tolerance;
    // Convex and counter-clockwise: the point is left of every edge.
    const std::size_t count = i_bed.outline.size();
    for (std::size_t index = 0; index < count; ++index) {
        const BedPoint& a = i_bed.outline[index];
        const BedPoint& b = i_bed.outline[(index + 1) % count];
        const double cross = (b.x - a.x) * (i_y - a.y) - (b.y - a.y) * (i_x - a.x);
        if (!(cross >= -i_tolerance * std::hypot(b.x - a.x, b.y - a.y)))
            return false;
    }
    return true;
}

void CheckBuildVolume(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts)
{
    std::vector<std::string> outside;
    std::vector<std::string> floating;
    std::vector<std::string> low;
    for (const PartGeometry& part : i_parts) {
        if (LeavesVolume(i_profile, part))
            outside.push_back(part.name);
        else if (part.box.min.z > i_profile.layerHeights.front() && !i_profile.MakesSupports())
            floating.push_back(part.name);
        else if (part.box.max.z - part.box.min.z < i_profile.layerHeights.front() / 2)
            low.push_back(part.name);
    }
    if (!outside.empty())
        Fail(ErrorCode::FileError, "These parts leave the build volume of '" + i_profile.name +
                                       "': " + JoinNames(outside) + ". Move, turn or scale them.");
    if (!floating.empty())
        Fail(ErrorCode::FileError, "These parts float above the plate, and '" + i_profile.name +
                                       "' makes no supports: " + JoinNames(floating) +
                                       ". Put them on the plate, or choose supports.");
    if (!low.empty())
        Fail(ErrorCode::FileError, "These parts are lower than half a layer of " +
                                       TavSDK::NumberToText(i_profile.layerHeights.front()) +
                                       " mm, and nothing of them would be printed: " + JoinNames(low) +
                                       ". Turn them, scale them, or choose lower layers.");
}

} // namespace MachineService::BuildProcessor
