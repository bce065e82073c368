#include "buildprocessor/verify/SectionSlicer.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

// Above what the engine's own rounding does to a height, mm; far below what a layer is.
constexpr double LevelTolerance = 0.002;

} // namespace

SectionSlicer::SectionSlicer(const PartGeometry& i_part, const RowGrid& i_grid)
    : _part(i_part)
    , _grid(i_grid)
    , _lowest(i_part.triangles.size())
    , _highest(i_part.triangles.size())
{
    _order.resize(i_part.triangles.size());
    for (std::uint32_t index = 0; index < _order.size(); ++index) {
        const auto& [a, b, c] = i_part.triangles[index];
        _order[index] = index;
        std::tie(_lowest[index], _highest[index]) =
            std::minmax({i_part.vertices[a].z, i_part.vertices[b].z, i_part.vertices[c].z});
    }
    std::sort(_order.begin(), _order.end(),
              [&](std::uint32_t i_a, std::uint32_t i_b) { return _lowest[i_a] < _lowest[i_b]; });
}

std::vector<Section> SectionSlicer::Cut(double i_z)
{
    const double low = i_z - LevelTolerance;
    const double high = i_z + LevelTolerance;
    for (; _next < _order.size() && _lowest[_order[_next]] < high; ++_next)
        _active.push_back(_order[_next]);
    std::erase_if(_active, [&](std::uint32_t i_index) { return _highest[i_index] < low; });
    const bool isLevel = std::any_of(_active.begin(), _active.end(), [&](std::uint32_t i_index) {
        return _lowest[i_index] >= low && _highest[i_index] <= high;
    });
    std::vector<Section> sections;
    if (isLevel)
        sections.push_back(_CutActive(low));
    sections.push_back(_CutActive(isLevel ? high : i_z));
    return sections;
}

Section SectionSlicer::_CutActive(double i_z) const
{
    std::vector<Section::Segment> outline;
    for (const std::uint32_t index : _active) {
        if (_lowest[index] < i_z && _highest[index] >= i_z)
            outline.push_back(_CutTriangle(_part.triangles[index], i_z));
    }
    return {std::move(outline), _grid};
}

Section::Segment SectionSlicer::_CutTriangle(const std::array<std::uint32_t, 3>& i_triangle, double i_z) const
{
    // A vertex at the height counts as above it: so every outline closes, whatever lies in the plane.
    Section::Segment segment{};
    for (std::size_t side = 0; side < 3; ++side) {
        const TavAM::Point3d* low = &_part.vertices[i_triangle[side]];
        const TavAM::Point3d* high = &_part.vertices[i_triangle[(side + 1) % 3]];
        const bool rises = low->z < i_z && high->z >= i_z;
        if (!rises && !(low->z >= i_z && high->z < i_z))
            continue;
        // From below in both triangles of an edge, so that both come to the same point.
        if (!rises)
            std::swap(low, high);
        const double share = (i_z - low->z) / (high->z - low->z);
        const double x = low->x + share * (high->x - low->x);
        const double y = low->y + share * (high->y - low->y);
        (rises ? segment.x1 : segment.x0) = x;
        (rises ? segment.y1 : segment.y0) = y;
    }
    return segment;
}

} // namespace MachineService::BuildProcessor
