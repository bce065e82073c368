#include "buildprocessor/verify/Section.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

// Bodies that touch are one, although rounding may leave this between them, mm.
constexpr double JoinedGap = 0.001;

struct Crossing
{
    double x;
    int turn;
};

double GetSquaredDistance(const Section::Segment& i_segment, double i_x, double i_y)
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

/// \param io_crossings of one row with all outlines.
void AddRow(std::span<Crossing> io_crossings, RowSpans& io_rows)
{
    std::sort(io_crossings.begin(), io_crossings.end(),
              [](const Crossing& i_a, const Crossing& i_b) { return i_a.x < i_b.x; });
    int winding = 0;
    RowSpan span;
    for (const Crossing& crossing : io_crossings) {
        if (winding == 0)
            span.begin = crossing.x;
        winding += crossing.turn;
        span.end = crossing.x;
        if (winding == 0 && span.begin < span.end)
            io_rows.AddJoined(span, JoinedGap);
    }
    io_rows.FinishRow();
}

RowSpans FillRows(const std::vector<Section::Segment>& i_segments, const RowGrid& i_grid)
{
    RowSpans rows(i_grid);
    const auto firstRow = [&](double i_y) {
        return static_cast<std::ptrdiff_t>(std::ceil((i_y - i_grid.origin) / i_grid.step));
    };
    rows.Start(0);
    if (i_segments.empty())
        return rows;
    double low = i_segments.front().y0;
    double high = low;
    for (const Section::Segment& segment : i_segments) {
        low = std::min({low, segment.y0, segment.y1});
        high = std::max({high, segment.y0, segment.y1});
    }
    const std::ptrdiff_t first = firstRow(low);
    const auto count = static_cast<std::size_t>(std::max<std::ptrdiff_t>(firstRow(high) - first, 0));
    // Both ends of a segment are rounded the same way as its neighbours', so that each row meets every outline an even
    // number of times.
    const auto forEachCrossing = [&](const auto& i_visit) {
        for (const Section::Segment& segment : i_segments) {
            const std::ptrdiff_t begin = firstRow(std::min(segment.y0, segment.y1));
            const std::ptrdiff_t end = firstRow(std::max(segment.y0, segment.y1));
            for (std::ptrdiff_t row = begin; row < end; ++row)
                i_visit(segment, row);
        }
    };
    std::vector<std::uint32_t> begins(count + 1);
    forEachCrossing(
        [&](const Section::Segment&, std::ptrdiff_t i_row) { ++begins[static_cast<std::size_t>(i_row - first) + 1]; });
    for (std::size_t row = 0; row < count; ++row)
        begins[row + 1] += begins[row];
    std::vector<Crossing> crossings(begins.back());
    std::vector<std::uint32_t> ends(begins.begin(), begins.end() - 1);
    forEachCrossing([&](const Section::Segment& i_segment, std::ptrdiff_t i_row) {
        const double share = (i_grid.GetY(i_row) - i_segment.y0) / (i_segment.y1 - i_segment.y0);
        const double x = i_segment.x0 + std::clamp(share, 0.0, 1.0) * (i_segment.x1 - i_segment.x0);
        crossings[ends[static_cast<std::size_t>(i_row - first)]++] = {x, i_segment.y1 > i_segment.y0 ? 1 : -1};
    });
    rows.Start(first);
    for (std::size_t row = 0; row < count; ++row)
        AddRow(std::span(crossings).subspan(begins[row], begins[row + 1] - begins[row]), rows);
    return rows;
}

} // namespace

Section::Section(std::vector<Segment> i_outline, const RowGrid& i_grid)
    : _segments(std::move(i_outline))
    , _area(FillRows(_segments, i_grid))
{}

void Section::Add(const Section& i_other)
{
    _segments.insert(_segments.end(), i_other._segments.begin(), i_other._segments.end());
    _area = _area.GetUnion(i_other._area);
    _hasBands = false;
}

void Section::_SortIntoBands()
{
    const RowGrid& grid = _area.GetGrid();
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

bool Section::IsOutlineNear(double i_x, double i_y, double i_distance)
{
    if (!_hasBands)
        _SortIntoBands();
    const RowGrid& grid = _area.GetGrid();
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
