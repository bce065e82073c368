#include "buildprocessor/verify/SectionsAhead.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

#include <sys/resource.h>

namespace MachineService::BuildProcessor {

namespace {

constexpr double SameHeight = 1e-4; ///< mm
constexpr double SameMargin = 1e-9; ///< mm
constexpr int Niceness = 10;

LayerAreas MakeAreas(SectionSlicer& io_slicer, const LayerCut& i_cut)
{
    auto sections = io_slicer.Cut(i_cut.z);
    // What must be there is in both of two, and what may be there in one of them.
    RowSpans sure = sections.back().GetArea();
    Section section = std::move(sections.front());
    if (sections.size() > 1) {
        sure = section.GetArea().GetCommon(sure);
        section.Add(sections.back());
    }
    RowSpans inner = sure.Erode(i_cut.shrink);
    RowSpans outer = section.GetArea().Dilate(i_cut.grow);
    return {std::move(section), std::move(sure), std::move(inner), std::move(outer)};
}

bool IsSame(double i_a, double i_b)
{
    return std::abs(i_a - i_b) <= SameMargin;
}

} // namespace

SectionsAhead::SectionsAhead(const std::vector<PartGeometry>& i_parts, const RowGrid& i_grid,
                             std::vector<std::vector<LayerCut>> i_expected, std::size_t i_bytes)
    : _geometries(i_parts)
    , _grid(i_grid)
    , _mostBytes(i_bytes)
    , _parts(i_parts.size())
{
    std::vector<std::pair<std::size_t, LayerCut>> cuts;
    for (std::size_t part = 0; part < _parts.size(); ++part) {
        _parts[part].taken = std::numeric_limits<double>::lowest();
        for (const LayerCut& cut : i_expected[part])
            cuts.emplace_back(part, cut);
    }
    // As the machine builds them.
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const auto& i_a, const auto& i_b) { return i_a.second.z < i_b.second.z; });
    _thread = std::jthread(
        [this, cuts = std::move(cuts)](const std::stop_token& i_stop) mutable { _Work(std::move(cuts), i_stop); });
}

void SectionsAhead::_Work(std::vector<std::pair<std::size_t, LayerCut>> i_cuts, const std::stop_token& i_stop)
{
    // The engine goes first. Of this thread alone, although the name says otherwise.
    setpriority(PRIO_PROCESS, 0, Niceness);
    std::vector<std::unique_ptr<SectionSlicer>> slicers(_parts.size());
    try {
        for (const auto& [part, cut] : i_cuts) {
            {
                std::unique_lock lock(_mutex);
                if (!_changed.wait(lock, i_stop, [&] { return _bytes <= _mostBytes; }) || i_stop.stop_requested())
                    return;
                if (cut.z <= _parts[part].taken + SameHeight)
                    continue;
                _inWork = {part, cut.z};
            }
            if (!slicers[part])
                slicers[part] = std::make_unique<SectionSlicer>(_geometries[part], _grid);
            LayerAreas areas = MakeAreas(*slicers[part], cut);
            const std::size_t size =
                areas.section.GetSize() + areas.sure.GetSize() + areas.inner.GetSize() + areas.outer.GetSize();
            const std::lock_guard lock(_mutex);
            _parts[part].ready.push_back({cut, std::move(areas), size});
            _bytes += size;
            _inWork.reset();
            _changed.notify_all();
        }
    } catch (const std::exception&) {
        // For want of memory: what is missing is computed when it is asked for.
        const std::lock_guard lock(_mutex);
        _inWork.reset();
        _changed.notify_all();
    }
}

std::optional<SectionsAhead::Ready> SectionsAhead::_TakeReady(std::size_t i_part, double i_z)
{
    std::unique_lock lock(_mutex);
    Part& part = _parts[i_part];
    part.taken = std::max(part.taken, i_z);
    _changed.wait(lock,
                  [&] { return !_inWork || _inWork->first != i_part || std::abs(_inWork->second - i_z) > SameHeight; });
    std::optional<Ready> taken;
    while (!taken && !part.ready.empty() && part.ready.front().cut.z <= i_z + SameHeight) {
        _bytes -= part.ready.front().size;
        if (part.ready.front().cut.z >= i_z - SameHeight)
            taken = std::move(part.ready.front());
        part.ready.pop_front();
    }
    _changed.notify_all();
    return taken;
}

LayerAreas SectionsAhead::Take(std::size_t i_part, const LayerCut& i_cut)
{
    if (auto ready = _TakeReady(i_part, i_cut.z)) {
        if (!IsSame(ready->cut.shrink, i_cut.shrink))
            ready->areas.inner = ready->areas.sure.Erode(i_cut.shrink);
        if (!IsSame(ready->cut.grow, i_cut.grow))
            ready->areas.outer = ready->areas.section.GetArea().Dilate(i_cut.grow);
        return std::move(ready->areas);
    }
    auto& slicer = _parts[i_part].later;
    if (!slicer)
        slicer = std::make_unique<SectionSlicer>(_geometries[i_part], _grid);
    return MakeAreas(*slicer, i_cut);
}

} // namespace MachineService::BuildProcessor
