#pragma once

#include "buildprocessor/verify/SectionSlicer.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

namespace MachineService::BuildProcessor {

/// Where a part is cut, and by how much its section is shrunk and grown to be compared with. Units: mm.
struct LayerCut
{
    double z = 0; ///< of the part
    double shrink = 0;
    double grow = 0;
};

/// What of a part a layer of the machine file is compared with.
struct LayerAreas
{
    Section section; ///< where there may be some of it
    RowSpans sure;   ///< where there is some of it; less than the section only at the height of a level face
    RowSpans inner;  ///< what is sure, shrunk
    RowSpans outer;  ///< the section, grown
};

/// The areas that a machine file is checked against, computed while the engine still makes it.
///
/// What is expected is computed on a thread of its own, the lowest of all parts first, as far as memory allows; what
/// was not expected, or is not there yet, when it is asked for. The result is the same.
///
/// Thread: one at a time. The parts must outlive it.
class SectionsAhead
{
public:
    /// \param i_expected of each part, at rising heights.
    SectionsAhead(const std::vector<PartGeometry>& i_parts, const RowGrid& i_grid,
                  std::vector<std::vector<LayerCut>> i_expected, std::size_t i_bytes = 300'000'000);

    const RowGrid& GetGrid() const { return _grid; }
    /// Order: of one part at rising heights.
    LayerAreas Take(std::size_t i_part, const LayerCut& i_cut);

private:
    struct Ready
    {
        LayerCut cut;
        LayerAreas areas;
        std::size_t size;
    };
    struct Part
    {
        std::deque<Ready> ready;
        double taken;                         ///< nothing up to this height is asked for any more
        std::unique_ptr<SectionSlicer> later; ///< for Take alone; not guarded
    };

    void _Work(std::vector<std::pair<std::size_t, LayerCut>> i_cuts, const std::stop_token& i_stop);
    std::optional<Ready> _TakeReady(std::size_t i_part, double i_z);

    const std::vector<PartGeometry>& _geometries;
    const RowGrid _grid;
    const std::size_t _mostBytes;
    std::mutex _mutex; ///< guards all below, but for what says otherwise
    std::condition_variable_any _changed;
    std::vector<Part> _parts;
    std::size_t _bytes = 0;                                ///< of what is ready
    std::optional<std::pair<std::size_t, double>> _inWork; ///< part and height
    std::jthread _thread;                                  ///< last: it uses all of the above
};

} // namespace MachineService::BuildProcessor
