#pragma once

#include "buildprocessor/engine/SlicingResult.h"
#include "buildprocessor/platform/JobProgress.h"
#include "buildprocessor/platform/JobSettings.h"
#include "client/interface/ScopedTempDir.h"
#include "tavam/Platform.h"

#include <filesystem>
#include <memory>

namespace MachineService::BuildProcessor {

/// What a command wants of the engine's work.
enum class SlicingAim
{
    Estimates,
    MachineFile, ///< and the estimates
};

/// A platform that went through the engine.
struct SlicedPlatform
{
    ScopedTempDir workDir;
    std::filesystem::path machineFile; ///< checked; goes with workDir; there only when it was wanted
    Estimates estimates;
};

/// Gives the parts their strategies, checks volume and collisions, slices, and checks the outcome. The platform gets
/// estimates, strategies and settings; the settings get notes of what was replaced and of what the checks say. Reports
/// up to 90 percent.
///
/// The engine runs once for each distinct platform: what it made of the same parts, settings and profile is kept, and
/// taken from there as long as the engine is the same.
///
/// \throws CommunicationException FileError for the parts, InternalError for the engine and for a profile that it does
///         not understand, ProcessingAborted.
std::unique_ptr<SlicedPlatform> SlicePlatform(const JobInput& i_input, SlicingAim i_aim, JobSettings& io_settings,
                                              TavAM::Platform& io_platform, JobProgress& io_progress);

} // namespace MachineService::BuildProcessor
