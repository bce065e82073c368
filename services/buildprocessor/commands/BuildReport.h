#pragma once

#include "buildprocessor/machines/MachineProfile.h"
#include "buildprocessor/platform/HostScene.h"

#include <chrono>
#include <string>

namespace MachineService::BuildProcessor {

/// What a report is made of besides the scene with its estimates (TavAM::PropertyNames::Print3D).
struct ReportInput
{
    const HostScene& scene;
    const MachineProfile& profile;
    const Material& material;
    double layerHeight = 0; ///< mm
    std::chrono::system_clock::time_point time;
};

/// An HTML document in UTF-8 that needs nothing beside it: job, machine and material, a picture of the bed from above,
/// the parts with their own estimates, the totals. No script; every text from outside is escaped. Estimates that the
/// scene does not have, or has in a form that is no number, are shown as a dash.
std::string MakeBuildReport(const ReportInput& i_input);

/// "1 h 5 min", "2 d 3 h 0 min", "42 s".
std::string FormatDuration(double i_seconds);

} // namespace MachineService::BuildProcessor
