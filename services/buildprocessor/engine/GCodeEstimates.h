#pragma once

#include "buildprocessor/engine/Estimates.h"
#include "buildprocessor/engine/GCodeReader.h"
#include "buildprocessor/geometry/PartGeometry.h"

#include <vector>

namespace MachineService::BuildProcessor {

/// Gathers what G-code tells of the job, and checks that it is complete: layers, time and material are there and agree
/// with each other, its extrusion is on the bed and below the machine's height. Whether each part is there is for
/// others.
///
/// Thread: one at a time. Profile and parts must outlive it.
/// \throws CommunicationException InternalError with what is wrong, FileError for parts that are too near the edge of
/// the bed; from each call.
class GCodeEstimates final : public IGCodeVisitor
{
public:
    GCodeEstimates(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts);

    void OnMove(const GCodeMove& i_move) override;
    void OnPart(std::optional<std::size_t> i_part) override;
    void OnComment(std::string_view i_text) override;
    /// After the last line.
    Estimates Finish();

private:
    [[noreturn]] void _FailBesideBed() const;

    const MachineProfile& _profile;
    const std::vector<PartGeometry>& _parts;
    Estimates _estimates;
    std::vector<std::size_t> _lastLayers; ///< by part, the last layer that it was seen in
    PartEstimates* _part = nullptr;
    double _statedMillimetres = 0;
};

} // namespace MachineService::BuildProcessor
