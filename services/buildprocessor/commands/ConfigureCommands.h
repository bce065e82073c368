#pragma once

#include "buildprocessor/platform/JobInput.h"

namespace MachineService::BuildProcessor {

// Commands that set something up. All: any thread, blocking; whatever ends them early leaves nothing in the output
// folder. They throw CommunicationException: FileError with what is wrong with the input, InternalError for the engine,
// ProcessingAborted.

/// Brings the printer's settings file into order and asks whether the slicing engine answers. Returns state, engine and
/// settings as properties of the platform.
CommandResult ConfigurePrinter(const JobInput& i_input);
/// Tests the way to the folder of jobs: makes it, writes, renames and removes a file there. Returns the result as
/// properties of the platform.
CommandResult ConfigureConnection(const JobInput& i_input);
/// Gives the platform a layer height and a material that the printer offers; Build uses them.
CommandResult ConfigurePlatform(const JobInput& i_input);
/// Gives every part strategies that the printer knows.
CommandResult ConfigureParts(const JobInput& i_input);

} // namespace MachineService::BuildProcessor
