#pragma once

#include "buildprocessor/verify/RowSpans.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace MachineService::BuildProcessor {

/// A section of a closed mesh: its area as rows, and its outline.
///
/// What any body of the mesh encloses is inside, also where bodies overlap: the winding is not zero.
/// Thread: one at a time.
class Section
{
public:
    /// A piece of the outline, inside to the left. Units: mm.
    struct Segment
    {
        double x0, y0, x1, y1;
    };

    Section(std::vector<Segment> i_outline, const RowGrid& i_grid);

    const RowSpans& GetArea() const { return _area; }
    /// Adds the area and the outline of another.
    void Add(const Section& i_other);
    /// True when the outline is nearer to the point than this.
    bool IsOutlineNear(double i_x, double i_y, double i_distance);
    /// Bytes that it holds, about.
    std::size_t GetSize() const { return _segments.size() * sizeof(Segment) + _area.GetSize(); }

private:
    void _SortIntoBands();

    std::vector<Segment> _segments;
    RowSpans _area;
    bool _hasBands = false; ///< made when they are first needed, which they seldom are
    std::ptrdiff_t _firstBand = 0;
    std::vector<std::uint32_t> _bandBegins;
    std::vector<std::uint32_t> _bandSegments; ///< by row, the numbers of the segments that pass it
};

} // namespace MachineService::BuildProcessor
