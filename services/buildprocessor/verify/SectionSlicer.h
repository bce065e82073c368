#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/verify/RowSpans.h"

#include <array>
#include <cstdint>
#include <vector>

namespace MachineService::BuildProcessor {

/// Sections of a closed mesh at rising heights: a sweep over its triangles, which costs as much as they are cut.
///
/// What any body of the mesh encloses is inside, also where bodies overlap: the winding is not zero.
/// Thread: one at a time. The part must outlive it.
class SectionSlicer
{
public:
    struct Segment
    {
        double x0, y0, x1, y1;
    };

    SectionSlicer(const PartGeometry& i_part, const RowGrid& i_grid);

    /// \param i_z mm, of the part; not below that of the call before.
    const RowSpans& Cut(double i_z);
    /// True when the boundary of the last section is nearer to the point than this.
    bool IsBoundaryNear(double i_x, double i_y, double i_distance);

private:
    struct Crossing
    {
        double x;
        int turn;
    };

    void _AddSegment(const std::array<std::uint32_t, 3>& i_triangle, double i_z);
    void _FillRows();
    void _SortIntoBands();

    const PartGeometry& _part;
    std::vector<std::uint32_t> _order;  ///< triangles by their lowest vertex
    std::vector<double> _lowest;        ///< by triangle
    std::vector<std::uint32_t> _active; ///< triangles that reach the height or lie above it
    std::size_t _next = 0;
    std::vector<Segment> _segments; ///< of the last section, inside to the left
    std::vector<std::uint32_t> _bandBegins;
    std::vector<std::uint32_t> _bandSegments;
    std::ptrdiff_t _firstBand = 0;
    bool _hasBands = false;
    RowSpans _rows;
};

} // namespace MachineService::BuildProcessor
