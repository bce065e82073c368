#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace MachineService::BuildProcessor {

/// A stretch of one row. Units: mm along x.
struct RowSpan
{
    double begin = 0;
    double end = 0;
};

/// Where rows of equal distance, parallel to x, lie.
struct RowGrid
{
    double origin = 0; ///< y of row 0
    double step = 1;   ///< mm

    double GetY(std::ptrdiff_t i_row) const { return origin + static_cast<double>(i_row) * step; }
    std::ptrdiff_t GetNearest(double i_y) const;
    bool operator==(const RowGrid&) const = default;
};

/// An area of the plane as the stretches in which rows cross it: exact along x, sampled along y. What is done to it
/// costs as much as it has stretches.
class RowSpans
{
public:
    explicit RowSpans(const RowGrid& i_grid)
        : _grid(i_grid)
    {}

    const RowGrid& GetGrid() const { return _grid; }
    std::ptrdiff_t GetFirst() const { return _first; }
    std::ptrdiff_t GetEnd() const { return _first + static_cast<std::ptrdiff_t>(_begins.size()) - 1; }
    bool IsEmpty() const { return _spans.empty(); }
    /// Ascending and apart from one another; empty for rows that there are not.
    std::span<const RowSpan> GetRow(std::ptrdiff_t i_row) const;
    /// Number of the row's first stretch among all.
    std::size_t GetNumber(std::ptrdiff_t i_row) const { return _begins[static_cast<std::size_t>(i_row - _first)]; }
    const std::vector<RowSpan>& GetAll() const { return _spans; }

    /// Begins with this row. Rows are added in order.
    void Start(std::ptrdiff_t i_first);
    void Add(const RowSpan& i_span) { _spans.push_back(i_span); }
    /// Joins it to the row's last one when there is no more than this between them.
    void AddJoined(const RowSpan& i_span, double i_gap);
    void FinishRow() { _begins.push_back(static_cast<std::uint32_t>(_spans.size())); }

    /// Bytes that it holds, about.
    std::size_t GetSize() const { return _spans.size() * sizeof(RowSpan) + _begins.size() * sizeof(std::uint32_t); }
    /// mm².
    double GetArea() const;
    /// True when the row next to the point crosses the area there.
    bool HasNear(double i_x, double i_y) const;
    /// The middles of all discs of this radius that lie in the area.
    RowSpans Erode(double i_radius) const;
    /// All points that are as near to the area as this.
    RowSpans Dilate(double i_radius) const;
    /// What is in both, or in one of them. The grids are the same.
    RowSpans GetCommon(const RowSpans& i_other) const;
    RowSpans GetUnion(const RowSpans& i_other) const;
    /// The columns of this width, counted from 0, whose middles lie in the area: what a mask shows of it.
    RowSpans SnapToColumns(double i_width) const;
    /// What of this is not in the other, mm². The grids are the same.
    double GetAreaWithout(const RowSpans& i_other) const;
    /// For each stretch the number of its island, from 0: what hangs together from row to row.
    std::vector<std::uint32_t> FindIslands(std::uint32_t& o_count) const;

private:
    /// Finishes a row with what these cover; they may overlap.
    void _AddUnion(std::vector<RowSpan>& io_spans);

    RowGrid _grid;
    std::ptrdiff_t _first = 0;
    std::vector<std::uint32_t> _begins{0}; ///< of each row among the stretches, and their count
    std::vector<RowSpan> _spans;
};

} // namespace MachineService::BuildProcessor
