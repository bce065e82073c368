#pragma once

#include "buildprocessor/engine/GCodeReader.h"
#include "buildprocessor/verify/LayerRules.h"
#include "buildprocessor/verify/SectionsAhead.h"

#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// "0.25 mm", as the sentences have lengths.
std::string FormatMillimetres(double i_value);

/// How a move was labelled. Units: mm.
struct ExtrusionLabel
{
    double top = 0;     ///< of the layer
    double height = 0;  ///< of the thread
    double width = 0;   ///< of the thread
    bool hangs = false; ///< a bridge or an overhang, whose threads are round
};

/// Checks the layers of one part in a machine file against sections of its mesh: that each is there, holds material
/// wherever the part has room for a disc of two widths, none outside of it, and neither less than its outermost wall
/// nor more than the solid part. What is thinner than the nozzle is noted.
///
/// Thread: one at a time. Parts and sections must outlive it.
class PartLayerCheck
{
public:
    /// \param i_index of the part, as the sections count them.
    PartLayerCheck(const PartGeometry& i_part, std::size_t i_index, const LayerRules& i_rules,
                   SectionsAhead& io_sections, std::stop_token i_stop);

    /// \throws CommunicationException InternalError with what is wrong with a finished layer.
    void AddMove(const GCodeMove& i_move, const ExtrusionLabel& i_label);
    /// Something was built for the part that carries it.
    void AddSupport() { _isCarried = true; }
    /// After the last move.
    /// \throws as above.
    void Finish();
    /// A sentence; empty when there is nothing to tell.
    std::string GetNote() const;

private:
    struct Layer
    {
        double top = 0;
        double height = 0;
        double pushed = 0;   ///< mm³
        double labelled = 0; ///< mm³ that widths and heights stand for
        double plain = 0;    ///< mm³ as if no thread were round
        double minX = 0, maxX = 0, minY = 0, maxY = 0;
        std::vector<GCodeMove> moves;
    };

    void _FinishLayer();
    /// The part between these heights has no room for material.
    void _CheckMissing(double i_bottom, double i_top, double i_height);
    void _CheckInside(Section& io_section, double i_reach, const Layer& i_layer);
    void _CheckFilled(const RowSpans& i_room, double i_radius, const Layer& i_layer);
    void _CheckVolume(const LayerAreas& i_areas, double i_radius, const Layer& i_layer);
    void _NoteThin(const RowSpans& i_section, double i_z);
    [[noreturn]] void _Fail(const std::string& i_what) const;

    const PartGeometry& _part;
    const std::size_t _index;
    const LayerRules _rules;
    SectionsAhead& _sections;
    const std::stop_token _stop;
    std::optional<Layer> _layer; ///< the one that is being read
    double _bottom = 0;          ///< up to which the part was found, as the machine file counts
    double _lift = 0;            ///< what the raft lifts the part by
    double _lastHeight = 0;
    bool _isFirst = true;
    bool _isCarried = false;
    std::optional<double> _thinAt;
};

} // namespace MachineService::BuildProcessor
