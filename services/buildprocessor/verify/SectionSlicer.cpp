#include "buildprocessor/verify/SectionSlicer.h"

#include <algorithm>
#include <cmath>

namespace MachineService::BuildProcessor {

namespace {

// Bodies that touch are one, although rounding may leave this between them, mm.
constexpr double JoinedGap = 0.001;

double GetSquaredDistance(const SectionSlicer::Segment& i_segment, double i_x, double i_y)
{
    const double dx = i_segment.x1 - i_segment.x0;
    const double dy = i_segment.y1 - i_segment.y0;
    const double length = dx * dx + dy * dy;
    double share = length > 0 ? ((i_x - i_segment.x0) * dx + (i_y - i_segment.y0) * dy) / length : 0;
    share = std::clamp(share, 0.0, 1.0);
    const double ex = i_segment.x0 + share * dx - i_x;
    const double ey = i_segment.y0 + share * dy - i_y;
    return ex * ex + ey * ey;
}

} // namespace

SectionSlicer::SectionSlicer(const PartGeometry& i_part, const RowGrid& i_grid)
    : _part(i_part)
    , _lowest(i_part.triangles.size())
    , _rows(i_grid)
{
    _order.resize(i_part.triangles.size());
    for (std::uint32_t index = 0; index < _order.size(); ++index) {
        const auto& [a, b, c] = i_part.triangles[index];
        _order[index] = index;
        _lowest[index] = std::min({i_part.vertices[a].z, i_part.vertices[b].z, i_part.vertices[c].z});
    }
    std::sort(_order.begin(), _order.end(),
              [&](std::uint32_t i_a, std::uint32_t i_b) { return _lowest[i_a] < _lowest[i_b]; });
}

const RowSpans& SectionSlicer::Cut(double i_z)
{
    for (; _next < _order.size() && _lowest[_order[_next]] < i_z; ++_next)
        _active.push_back(_order[_next]);
    _segments.clear();
    std::size_t kept = 0;
    for (const std::uint32_t index : _active) {
        const auto& triangle = _part.triangles[index];
        const bool reaches = std::any_of(triangle.begin(), triangle.end(),
                                         [&](std::uint32_t i_vertex) { return _part.vertices[i_vertex].z >= i_z; });
        if (!reaches)
            continue;
        _active[kept++] = index;
        _AddSegment(triangle, i_z);
    }
    _active.resize(kept);
    _hasBands = false;
    _FillRows();
    return _rows;
}

void SectionSlicer::_AddSegment(const std::array<std::uint32_t, 3>& i_triangle, double i_z)
{
    // A vertex at the height counts as above it: so every outline closes, whatever lies in the plane.
    Segment segment{};
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
    _segments.push_back(segment);
}

void SectionSlicer::_FillRows()
{
    const RowGrid& grid = _rows.GetGrid();
    const auto firstRow = [&](double i_y) {
        return static_cast<std::ptrdiff_t>(std::ceil((i_y - grid.origin) / grid.step));
    };
    _rows.Start(0);
    if (_segments.empty())
        return;
    double low = _segments.front().y0;
    double high = low;
    for (const Segment& segment : _segments) {
        low = std::min({low, segment.y0, segment.y1});
        high = std::max({high, segment.y0, segment.y1});
    }
    const std::ptrdiff_t first = firstRow(low);
    const auto count = static_cast<std::size_t>(std::max<std::ptrdiff_t>(firstRow(high) - first, 0));
    // Both ends of a segment are rounded the same way as its neighbours', so that each row meets every outline an even
    // number of times.
    const auto forEachCrossing = [&](const auto& i_visit) {
        for (const Segment& segment : _segments) {
            const std::ptrdiff_t begin = firstRow(std::min(segment.y0, segment.y1));
            const std::ptrdiff_t end = firstRow(std::max(segment.y0, segment.y1));
            for (std::ptrdiff_t row = begin; row < end; ++row)
                i_visit(segment, row);
        }
    };
    std::vector<std::uint32_t> begins(count + 1);
    forEachCrossing(
        [&](const Segment&, std::ptrdiff_t i_row) { ++begins[static_cast<std::size_t>(i_row - first) + 1]; });
    for (std::size_t row = 0; row < count; ++row)
        begins[row + 1] += begins[row];
    std::vector<Crossing> crossings(begins.back());
    std::vector<std::uint32_t> ends(begins.begin(), begins.end() - 1);
    forEachCrossing([&](const Segment& i_segment, std::ptrdiff_t i_row) {
        const double share = (grid.GetY(i_row) - i_segment.y0) / (i_segment.y1 - i_segment.y0);
        const double x = i_segment.x0 + std::clamp(share, 0.0, 1.0) * (i_segment.x1 - i_segment.x0);
        crossings[ends[static_cast<std::size_t>(i_row - first)]++] = {x, i_segment.y1 > i_segment.y0 ? 1 : -1};
    });
    _rows.Start(first);
    for (std::size_t row = 0; row < count; ++row) {
        const auto begin = crossings.begin() + begins[row];
        const auto end = crossings.begin() + begins[row + 1];
        std::sort(begin, end, [](const Crossing& i_a, const Crossing& i_b) { return i_a.x < i_b.x; });
        int winding = 0;
        RowSpan span;
        for (auto crossing = begin; crossing != end; ++crossing) {
            if (winding == 0)
                span.begin = crossing->x;
            winding += crossing->turn;
            span.end = crossing->x;
            if (winding == 0 && span.begin < span.end)
                _rows.AddJoined(span, JoinedGap);
        }
        _rows.FinishRow();
    }
}

void SectionSlicer::_SortIntoBands()
{
    const RowGrid& grid = _rows.GetGrid();
    _hasBands = true;
    _bandBegins.assign(1, 0);
    _bandSegments.clear();
    if (_segments.empty())
        return;
    std::ptrdiff_t last = grid.GetNearest(_segments.front().y0);
    _firstBand = last;
    const auto forEachBand = [&](const auto& i_visit) {
        for (std::uint32_t index = 0; index < _segments.size(); ++index) {
            const auto& [x0, y0, x1, y1] = _segments[index];
            for (auto band = grid.GetNearest(std::min(y0, y1)); band <= grid.GetNearest(std::max(y0, y1)); ++band)
                i_visit(index, band);
        }
    };
    for (const Segment& segment : _segments) {
        _firstBand = std::min(_firstBand, grid.GetNearest(std::min(segment.y0, segment.y1)));
        last = std::max(last, grid.GetNearest(std::max(segment.y0, segment.y1)));
    }
    _bandBegins.assign(static_cast<std::size_t>(last - _firstBand) + 2, 0);
    forEachBand([&](std::uint32_t, std::ptrdiff_t i_band) {
        ++_bandBegins[static_cast<std::size_t>(i_band - _firstBand) + 1];
    });
    for (std::size_t band = 1; band < _bandBegins.size(); ++band)
        _bandBegins[band] += _bandBegins[band - 1];
    _bandSegments.resize(_bandBegins.back());
    std::vector<std::uint32_t> ends(_bandBegins.begin(), _bandBegins.end() - 1);
    forEachBand([&](std::uint32_t i_index, std::ptrdiff_t i_band) {
        _bandSegments[ends[static_cast<std::size_t>(i_band - _firstBand)]++] = i_index;
    });
}

bool SectionSlicer::IsBoundaryNear(double i_x, double i_y, double i_distance)
{
    if (!_hasBands)
        _SortIntoBands();
    const RowGrid& grid = _rows.GetGrid();
    const auto bands = static_cast<std::ptrdiff_t>(_bandBegins.size()) - 1;
    const auto begin = std::max<std::ptrdiff_t>(grid.GetNearest(i_y - i_distance) - _firstBand, 0);
    const auto end = std::min(grid.GetNearest(i_y + i_distance) - _firstBand + 1, bands);
    for (std::ptrdiff_t band = begin; band < end; ++band) {
        for (auto at = _bandBegins[static_cast<std::size_t>(band)];
             at < _bandBegins[static_cast<std::size_t>(band) + 1]; ++at) {
            if (GetSquaredDistance(_segments[_bandSegments[at]], i_x, i_y) <= i_distance * i_distance)
                return true;
        }
    }
    return false;
}

} // namespace MachineService::BuildProcessor
