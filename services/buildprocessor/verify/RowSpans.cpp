#include "buildprocessor/verify/RowSpans.h"

#include "buildprocessor/verify/MeshEdges.h"

#include <algorithm>
#include <cmath>

namespace MachineService::BuildProcessor {

namespace {

/// Half the width of a disc at this distance from its middle; below 0 outside of it.
double GetHalfWidth(double i_radius, double i_distance)
{
    const double square = i_radius * i_radius - i_distance * i_distance;
    return square < 0 ? -1 : std::sqrt(square);
}

/// What is in both, the second made narrower by i_less on either side.
void Intersect(const std::vector<RowSpan>& i_left, std::span<const RowSpan> i_right, double i_less,
               std::vector<RowSpan>& o_both)
{
    o_both.clear();
    std::size_t left = 0;
    std::size_t right = 0;
    while (left < i_left.size() && right < i_right.size()) {
        const RowSpan both{std::max(i_left[left].begin, i_right[right].begin + i_less),
                           std::min(i_left[left].end, i_right[right].end - i_less)};
        if (both.begin < both.end)
            o_both.push_back(both);
        if (i_left[left].end < i_right[right].end - i_less)
            ++left;
        else
            ++right;
    }
}

} // namespace

std::ptrdiff_t RowGrid::GetNearest(double i_y) const
{
    return std::lround((i_y - origin) / step);
}

std::span<const RowSpan> RowSpans::GetRow(std::ptrdiff_t i_row) const
{
    if (i_row < _first || i_row >= GetEnd())
        return {};
    const auto row = static_cast<std::size_t>(i_row - _first);
    return std::span(_spans).subspan(_begins[row], _begins[row + 1] - _begins[row]);
}

void RowSpans::Start(std::ptrdiff_t i_first)
{
    _first = i_first;
    _begins = {0};
    _spans.clear();
}

void RowSpans::AddJoined(const RowSpan& i_span, double i_gap)
{
    if (_spans.size() > _begins.back() && i_span.begin - _spans.back().end <= i_gap)
        _spans.back().end = i_span.end;
    else
        _spans.push_back(i_span);
}

double RowSpans::GetArea() const
{
    double sum = 0;
    for (const RowSpan& span : _spans)
        sum += span.end - span.begin;
    return sum * _grid.step;
}

bool RowSpans::HasNear(double i_x, double i_y) const
{
    const auto row = GetRow(_grid.GetNearest(i_y));
    const auto behind = std::upper_bound(row.begin(), row.end(), i_x,
                                         [](double i_value, const RowSpan& i_span) { return i_value < i_span.begin; });
    return behind != row.begin() && i_x <= std::prev(behind)->end;
}

RowSpans RowSpans::Erode(double i_radius) const
{
    const auto reach = static_cast<std::ptrdiff_t>(i_radius / _grid.step);
    RowSpans eroded(_grid);
    eroded.Start(_first);
    std::vector<RowSpan> kept;
    std::vector<RowSpan> next;
    for (std::ptrdiff_t row = _first; row < GetEnd(); ++row) {
        kept.clear();
        const auto own = GetRow(row);
        Intersect({own.begin(), own.end()}, own, i_radius, kept);
        for (std::ptrdiff_t distance = 1; distance <= reach && !kept.empty(); ++distance) {
            const double less = GetHalfWidth(i_radius, static_cast<double>(distance) * _grid.step);
            for (const std::ptrdiff_t other : {row - distance, row + distance}) {
                Intersect(kept, GetRow(other), less, next);
                kept.swap(next);
            }
        }
        for (const RowSpan& span : kept)
            eroded.Add(span);
        eroded.FinishRow();
    }
    return eroded;
}

RowSpans RowSpans::Dilate(double i_radius) const
{
    const auto reach = static_cast<std::ptrdiff_t>(i_radius / _grid.step);
    RowSpans dilated(_grid);
    if (IsEmpty())
        return dilated;
    dilated.Start(_first - reach);
    std::vector<RowSpan> grown;
    for (std::ptrdiff_t row = _first - reach; row < GetEnd() + reach; ++row) {
        grown.clear();
        for (std::ptrdiff_t other = row - reach; other <= row + reach; ++other) {
            const double more = GetHalfWidth(i_radius, static_cast<double>(other - row) * _grid.step);
            for (const RowSpan& span : GetRow(other))
                grown.push_back({span.begin - more, span.end + more});
        }
        dilated._AddUnion(grown);
    }
    return dilated;
}

void RowSpans::_AddUnion(std::vector<RowSpan>& io_spans)
{
    std::sort(io_spans.begin(), io_spans.end(),
              [](const RowSpan& i_a, const RowSpan& i_b) { return i_a.begin < i_b.begin; });
    for (std::size_t index = 0; index < io_spans.size();) {
        RowSpan joined = io_spans[index];
        for (++index; index < io_spans.size() && io_spans[index].begin <= joined.end; ++index)
            joined.end = std::max(joined.end, io_spans[index].end);
        Add(joined);
    }
    FinishRow();
}

RowSpans RowSpans::GetCommon(const RowSpans& i_other) const
{
    RowSpans common(_grid);
    common.Start(_first);
    std::vector<RowSpan> own;
    std::vector<RowSpan> shared;
    for (std::ptrdiff_t row = _first; row < GetEnd(); ++row) {
        own.assign(GetRow(row).begin(), GetRow(row).end());
        Intersect(own, i_other.GetRow(row), 0, shared);
        for (const RowSpan& span : shared)
            common.Add(span);
        common.FinishRow();
    }
    return common;
}

RowSpans RowSpans::GetUnion(const RowSpans& i_other) const
{
    if (IsEmpty() || i_other.IsEmpty())
        return IsEmpty() ? i_other : *this;
    RowSpans all(_grid);
    all.Start(std::min(_first, i_other._first));
    std::vector<RowSpan> spans;
    for (std::ptrdiff_t row = all._first; row < std::max(GetEnd(), i_other.GetEnd()); ++row) {
        spans.assign(GetRow(row).begin(), GetRow(row).end());
        const auto others = i_other.GetRow(row);
        spans.insert(spans.end(), others.begin(), others.end());
        all._AddUnion(spans);
    }
    return all;
}

RowSpans RowSpans::SnapToColumns(double i_width) const
{
    RowSpans snapped(_grid);
    snapped.Start(_first);
    for (std::ptrdiff_t row = _first; row < GetEnd(); ++row) {
        for (const RowSpan& span : GetRow(row)) {
            const RowSpan columns{std::ceil(span.begin / i_width - 0.5) * i_width,
                                  (std::floor(span.end / i_width - 0.5) + 1) * i_width};
            if (columns.begin < columns.end)
                snapped.AddJoined(columns, 0);
        }
        snapped.FinishRow();
    }
    return snapped;
}

double RowSpans::GetAreaWithout(const RowSpans& i_other) const
{
    return GetArea() - GetCommon(i_other).GetArea();
}

std::vector<std::uint32_t> RowSpans::FindIslands(std::uint32_t& o_count) const
{
    std::vector<std::uint32_t> parents(_spans.size());
    for (std::uint32_t index = 0; index < parents.size(); ++index)
        parents[index] = index;
    for (std::ptrdiff_t row = _first + 1; row < GetEnd(); ++row) {
        const auto low = GetRow(row - 1);
        const auto high = GetRow(row);
        const std::size_t lowNumber = GetNumber(row - 1);
        const std::size_t highNumber = GetNumber(row);
        for (std::size_t left = 0, right = 0; left < low.size() && right < high.size();) {
            if (low[left].begin < high[right].end && high[right].begin < low[left].end)
                parents[FindRoot(parents, static_cast<std::uint32_t>(lowNumber + left))] =
                    FindRoot(parents, static_cast<std::uint32_t>(highNumber + right));
            if (low[left].end < high[right].end)
                ++left;
            else
                ++right;
        }
    }
    constexpr auto none = static_cast<std::uint32_t>(-1);
    std::vector<std::uint32_t> numbers(_spans.size(), none);
    std::vector<std::uint32_t> islands(_spans.size());
    o_count = 0;
    for (std::uint32_t index = 0; index < parents.size(); ++index) {
        std::uint32_t& number = numbers[FindRoot(parents, index)];
        if (number == none)
            number = o_count++;
        islands[index] = number;
    }
    return islands;
}

} // namespace MachineService::BuildProcessor
