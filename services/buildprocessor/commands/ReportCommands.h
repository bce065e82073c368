#pragma once

#include "buildprocessor/platform/JobInput.h"

namespace MachineService::BuildProcessor {

// Commands that tell of a platform. All: any thread, blocking; whatever ends them early leaves nothing in the output
// folder. They throw as the commands of ConfigureCommands.h.

/// Makes a document of the scene description.
CommandResult MakeReportDocument(const JobInput& i_input);
/// Printer, settings and, when there are parts, estimates of the platform as properties for the host's report.
CommandResult FillReport(const JobInput& i_input);

} // namespace MachineService::BuildProcessor
