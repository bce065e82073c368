#pragma once

#include "tour/CommandLine.h"

#include <filesystem>

namespace Tour {

/// Exit statuses of the program.
enum ExitStatus : int
{
    Succeeded = 0,
    Failed = 1,
    WrongUsage = 2,
    Interrupted = 130,
};

/// The main job without a window: catalog, attachment, platform, meshes, commands, estimates, files. Prints each step
/// as it happens.
///
/// Leaves in the folder the machine file, platform.TavAMX and transcript.txt, or machine-configuration.xml and
/// transcript.txt when that is asked for; after an interruption nothing of this run.
///
/// Thread: UI thread. Never throws.
ExitStatus RunTour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir);

} // namespace Tour
