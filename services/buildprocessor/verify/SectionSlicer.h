#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/verify/Section.h"

#include <array>
#include <cstdint>
#include <vector>

namespace MachineService::BuildProcessor {

/// Sections of a closed mesh at rising heights: a sweep over its triangles, which costs as much as they are cut.
///
/// Thread: one at a time. The part must outlive it.
class SectionSlicer
{
public:
    SectionSlicer(const PartGeometry& i_part, const RowGrid& i_grid);

    /// Where a face lies level at the height, rounding decides whether the engine cuts below or above it: then the
    /// sections of both.
    /// \param i_z mm, of the part; not below that of the call before.
    std::vector<Section> Cut(double i_z);

private:
    Section _CutActive(double i_z) const;
    Section::Segment _CutTriangle(const std::array<std::uint32_t, 3>& i_triangle, double i_z) const;

    const PartGeometry& _part;
    const RowGrid _grid;
    std::vector<std::uint32_t> _order;  ///< triangles by their lowest vertex
    std::vector<double> _lowest;        ///< by triangle
    std::vector<double> _highest;       ///< by triangle
    std::vector<std::uint32_t> _active; ///< triangles that reach the height or lie above it
    std::size_t _next = 0;
};

} // namespace MachineService::BuildProcessor
