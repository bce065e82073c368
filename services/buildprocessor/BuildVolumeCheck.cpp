#include "buildprocessor/BuildVolumeCheck.h"

#include "buildprocessor/Failure.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <cmath>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxNames = 10;
constexpr std::size_t MaxNameLength = 60;

bool LeavesVolume(const MachineProfile& i_profile, const PartGeometry& i_part)
{
    return std::any_of(i_part.vertices.begin(), i_part.vertices.end(), [&](const TavAM::Point3d& i_point) {
        // Said this way round, so that what is no number is outside.
        return !(i_point.z >= -VolumeTolerance && i_point.z <= i_profile.height + VolumeTolerance) ||
               !IsOnBed(i_profile.bed, i_point.x, i_point.y);
    });
}

} // namespace

std::string JoinNames(const std::vector<std::string>& i_names)
{
    std::string text;
    for (std::size_t index = 0; index < std::min(i_names.size(), MaxNames); ++index) {
        std::string name = i_names[index];
        std::replace_if(
            name.begin(), name.end(), [](char i_character) { return static_cast<unsigned char>(i_character) < 0x20; },
            ' ');
        if (name.size() > MaxNameLength)
            name = std::string(TavSDK::CutUtf8(name, MaxNameLength)) + "...";
        text += (index == 0 ? "'" : ", '") + name + '\'';
    }
    if (i_names.size() > MaxNames)
        text += " and " + std::to_string(i_names.size() - MaxNames) + " more";
    return text;
}

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
    for (const PartGeometry& part : i_parts) {
        if (LeavesVolume(i_profile, part))
            outside.push_back(part.name);
        else if (part.box.min.z > i_profile.layerHeights.front() && !i_profile.MakesSupports())
            floating.push_back(part.name);
    }
    if (!outside.empty())
        Fail(ErrorCode::FileError,
             "These parts leave the build volume of '" + i_profile.name + "': " + JoinNames(outside) + '.');
    if (!floating.empty())
        Fail(ErrorCode::FileError, "These parts float above the plate, and '" + i_profile.name +
                                       "' makes no supports: " + JoinNames(floating) + '.');
}

} // namespace MachineService::BuildProcessor
