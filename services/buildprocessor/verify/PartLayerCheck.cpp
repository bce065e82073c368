#include "buildprocessor/verify/PartLayerCheck.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/NameList.h"
#include "contract/Failure.h"

#include <QString>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

constexpr double HeightTolerance = 0.011; ///< mm, of heights that the engine rounds to 0.001 mm
constexpr double OutlineTolerance = 0.1;  ///< mm, of the engine's own rounding
constexpr double FlowTolerance = 0.12;
// A wall is narrower than its width by the rounding of its edges, and corners are counted twice.
constexpr double WallShare = 0.6;

double GetLength(const GCodeMove& i_move)
{
    return std::hypot(i_move.x - i_move.fromX, i_move.y - i_move.fromY);
}

/// mm² of a thread: a rectangle with round sides, or a circle where it is as high as wide.
double GetThreadArea(double i_width, double i_height)
{
    return i_height * (i_width - i_height * (1 - std::numbers::pi / 4));
}

std::string At(double i_x, double i_y)
{
    return '(' + FormatMillimetres(i_x) + ", " + FormatMillimetres(i_y) + ')';
}

/// Both ends of a move and points between them that are no further apart than this.
template <class Visit>
void ForEachPoint(const GCodeMove& i_move, double i_step, const Visit& i_visit)
{
    const double pieces = std::ceil(GetLength(i_move) / i_step);
    for (double piece = 0; piece <= pieces; ++piece) {
        const double share = pieces > 0 ? piece / pieces : 0;
        i_visit(i_move.fromX + share * (i_move.x - i_move.fromX), i_move.fromY + share * (i_move.y - i_move.fromY));
    }
}

std::string LayerAt(double i_height)
{
    return "in the layer at " + FormatMillimetres(i_height);
}

} // namespace

std::string FormatMillimetres(double i_value)
{
    return QString::number(i_value, 'f', 2).toStdString() + " mm";
}

PartLayerCheck::PartLayerCheck(const PartGeometry& i_part, std::size_t i_index, const LayerRules& i_rules,
                               SectionsAhead& io_sections, std::stop_token i_stop)
    : _part(i_part)
    , _index(i_index)
    , _rules(i_rules)
    , _sections(io_sections)
    , _stop(std::move(i_stop))
    , _bottom(std::max(i_part.box.min.z, 0.0))
{}

void PartLayerCheck::_Fail(const std::string& i_what) const
{
    Fail(ErrorCode::InternalError,
         "The slicing engine's machine file is not the part " + JoinNames({_part.name}) + ": " + i_what +
             ". The file was not kept; build again with another layer height, or turn the part.");
}

void PartLayerCheck::AddMove(const GCodeMove& i_move, const ExtrusionLabel& i_label)
{
    if (_layer && i_label.top != _layer->top)
        _FinishLayer();
    if (!_layer) {
        _layer = Layer();
        _layer->top = i_label.top;
        _layer->minX = _layer->maxX = i_move.x;
        _layer->minY = _layer->maxY = i_move.y;
    }
    const double lowest = _rules.rises ? i_label.top - i_label.height : i_label.top;
    if (i_move.z < lowest - HeightTolerance || i_move.z > i_label.top + HeightTolerance)
        _Fail(LayerAt(i_label.top) + " material is put at " + FormatMillimetres(i_move.z));
    Layer& layer = *_layer;
    const double length = GetLength(i_move);
    const double pushed = i_move.pushed * _rules.filament;
    layer.pushed += pushed;
    layer.labelled += length * GetThreadArea(i_label.width, i_label.height);
    if (!i_label.hangs) {
        // Threads that hang are higher than the layer.
        layer.height = i_label.height;
        layer.plain += pushed;
    }
    layer.minX = std::min({layer.minX, i_move.fromX, i_move.x});
    layer.maxX = std::max({layer.maxX, i_move.fromX, i_move.x});
    layer.minY = std::min({layer.minY, i_move.fromY, i_move.y});
    layer.maxY = std::max({layer.maxY, i_move.fromY, i_move.y});
    layer.moves.push_back(i_move);
}

void PartLayerCheck::_FinishLayer()
{
    ThrowIfStopped(_stop);
    Layer layer = *std::exchange(_layer, std::nullopt);
    if (layer.height <= 0)
        layer.height = _lastHeight > 0 ? _lastHeight : layer.top - _bottom - _lift;
    if (_isFirst && _rules.hasRaft)
        _lift = layer.top - layer.height - _bottom;
    const double top = layer.top - _lift;
    if (top <= _bottom + HeightTolerance && !_isFirst)
        _Fail("the layer at " + FormatMillimetres(layer.top) + " comes again, or too late");
    const double bottom = top - layer.height;
    if (_isFirst && !_isCarried && !_rules.hasRaft && bottom > layer.height + HeightTolerance)
        Fail(ErrorCode::FileError, "The part " + JoinNames({_part.name}) + " begins " + FormatMillimetres(bottom) +
                                       " above the plate, and the slicing engine builds nothing that carries it; put "
                                       "it on the plate.");
    _CheckMissing(_bottom, bottom, layer.height);

    const double z = top - layer.height / 2;
    const LayerCut cut = _rules.MakeCut(z, _isFirst);
    LayerAreas areas = _sections.Take(_index, cut);
    _CheckInside(areas.section, cut.grow + OutlineTolerance, layer);
    _CheckFilled(areas.inner, cut.shrink, layer);
    _CheckVolume(areas, cut.shrink, layer);
    _NoteThin(areas.section.GetArea(), z);
    _bottom = top;
    _lastHeight = layer.height;
    _isFirst = false;
}

void PartLayerCheck::_CheckMissing(double i_bottom, double i_top, double i_height)
{
    if (i_top - i_bottom < i_height * 0.5)
        return;
    for (double bottom = i_bottom; bottom + i_height * 0.5 < i_top; bottom += i_height) {
        ThrowIfStopped(_stop);
        const double z = bottom + i_height / 2;
        const LayerAreas areas = _sections.Take(_index, _rules.MakeCut(z, _isFirst));
        if (!areas.inner.IsEmpty())
            _Fail("nothing of it is there between " + FormatMillimetres(i_bottom + _lift) + " and " +
                  FormatMillimetres(i_top + _lift));
        _NoteThin(areas.section.GetArea(), z);
    }
}

void PartLayerCheck::_CheckInside(Section& io_section, double i_reach, const Layer& i_layer)
{
    for (const GCodeMove& move : i_layer.moves) {
        ForEachPoint(move, 2 * _rules.width, [&](double i_x, double i_y) {
            if (!io_section.GetArea().HasNear(i_x, i_y) && !io_section.IsOutlineNear(i_x, i_y, i_reach))
                _Fail(LayerAt(i_layer.top) + " material lies outside of it, at " + At(i_x, i_y));
        });
    }
}

void PartLayerCheck::_CheckFilled(const RowSpans& i_room, double i_radius, const Layer& i_layer)
{
    if (i_room.IsEmpty())
        return;
    const RowGrid& grid = i_room.GetGrid();
    std::uint32_t left = 0;
    const auto islands = i_room.FindIslands(left);
    std::vector<bool> filled(left);
    // What is nearer than this to the middle of a disc of the part lies in the disc, or was moved out of it on purpose.
    const double near = i_radius + _rules.grown;
    const auto reach = static_cast<std::ptrdiff_t>(near / grid.step);
    const auto fill = [&](double i_x, double i_y) {
        const auto nearest = grid.GetNearest(i_y);
        for (auto row = nearest - reach; row <= nearest + reach; ++row) {
            const double away = grid.GetY(row) - i_y;
            const double width = std::sqrt(std::max(near * near - away * away, 0.0));
            const auto spans = i_room.GetRow(row);
            auto span = std::lower_bound(spans.begin(), spans.end(), i_x - width,
                                         [](const RowSpan& i_span, double i_value) { return i_span.end < i_value; });
            for (; span != spans.end() && span->begin <= i_x + width; ++span) {
                const auto island = islands[i_room.GetNumber(row) + static_cast<std::size_t>(span - spans.begin())];
                left -= filled[island] ? 0 : 1;
                filled[island] = true;
            }
        }
    };
    for (auto move = i_layer.moves.begin(); move != i_layer.moves.end() && left > 0; ++move)
        ForEachPoint(*move, i_radius / 2, fill);
    double minX = i_room.GetAll().front().begin;
    double maxX = minX;
    for (std::size_t index = 0; index < islands.size(); ++index) {
        const RowSpan& span = i_room.GetAll()[index];
        minX = std::min(minX, span.begin);
        maxX = std::max(maxX, span.end);
        if (filled[islands[index]])
            continue;
        auto row = i_room.GetFirst();
        while (row + 1 < i_room.GetEnd() && i_room.GetNumber(row + 1) <= index)
            ++row;
        _Fail(LayerAt(i_layer.top) + " a place of it is empty, at " + At((span.begin + span.end) / 2, grid.GetY(row)));
    }
    const double slack = _rules.hasWalls ? i_radius : 10 * i_radius;
    double minY = grid.GetY(i_room.GetEnd());
    double maxY = grid.GetY(i_room.GetFirst());
    for (auto row = i_room.GetFirst(); row < i_room.GetEnd(); ++row) {
        if (i_room.GetRow(row).empty())
            continue;
        minY = std::min(minY, grid.GetY(row));
        maxY = std::max(maxY, grid.GetY(row));
    }
    if (i_layer.minX > minX + slack || i_layer.maxX < maxX - slack || i_layer.minY > minY + slack ||
        i_layer.maxY < maxY - slack)
        _Fail(LayerAt(i_layer.top) + " a side of it is missing");
}

void PartLayerCheck::_CheckVolume(const LayerAreas& i_areas, double i_radius, const Layer& i_layer)
{
    const double least = _rules.width * i_layer.height; // below this, rounding to 0.00001 mm of filament counts
    if (std::abs(i_layer.pushed - i_layer.labelled) > FlowTolerance * i_layer.labelled + least)
        _Fail(LayerAt(i_layer.top) + " " + QString::number(i_layer.pushed, 'f', 2).toStdString() +
              " mm³ are pushed out where its threads hold " + QString::number(i_layer.labelled, 'f', 2).toStdString() +
              " mm³");
    const double solid = i_areas.outer.GetArea() * i_layer.height;
    if (i_layer.plain > solid * (1 + FlowTolerance) + least)
        _Fail(LayerAt(i_layer.top) + " there is more material than the solid part takes");
    if (!_rules.hasWalls)
        return;
    const RowSpans& room = i_areas.inner;
    const double wall = (room.Dilate(i_radius).GetArea() - room.GetArea()) * _rules.width / i_radius;
    if (i_layer.pushed < wall * i_layer.height * WallShare - least)
        _Fail(LayerAt(i_layer.top) + " there is less material than its outermost wall takes");
}

void PartLayerCheck::_NoteThin(const RowSpans& i_section, double i_z)
{
    if (_thinAt)
        return;
    const double radius = _rules.nozzle / 2;
    const RowSpans thick = i_section.Erode(radius);
    // Sharp corners are within the last disc's reach; what is beyond is a wall or a pin.
    const double thin = thick.IsEmpty() ? i_section.GetArea() : i_section.GetAreaWithout(thick.Dilate(2 * radius));
    if (thin > 2 * _rules.nozzle * _rules.nozzle)
        _thinAt = i_z + _lift;
}

void PartLayerCheck::Finish()
{
    if (_layer)
        _FinishLayer();
    if (_isFirst)
        _Fail("nothing of it is there");
    const double top = _part.box.max.z;
    // What is lower than half a layer of its own gets none.
    const double height = std::max(_lastHeight, _rules.height);
    if (_bottom > top + height + HeightTolerance)
        _Fail("it ends at " + FormatMillimetres(_bottom + _lift) + ", above its top at " +
              FormatMillimetres(top + _lift));
    _CheckMissing(_bottom, top, height);
}

std::string PartLayerCheck::GetNote() const
{
    if (!_thinAt)
        return {};
    return "Places of " + JoinNames({_part.name}) + " are thinner than the nozzle, the first at a height of " +
           FormatMillimetres(*_thinAt) + ": they may be missing, or thicker.";
}

} // namespace MachineService::BuildProcessor
