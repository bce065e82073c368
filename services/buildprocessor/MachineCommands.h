#pragma once

#include "buildprocessor/PlatformJob.h"

namespace MachineService::BuildProcessor {

// The printers' commands besides Build. All: any thread, blocking; whatever ends them early leaves nothing in the
// output folder. They throw CommunicationException: FileError with what is wrong with the input, InternalError for the
// engine, ProcessingAborted.

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

/// Slices for time and material; no machine file is kept.
CommandResult EstimateConsumption(const JobInput& i_input);
/// Places all parts on the bed, or names those that do not fit.
CommandResult PlaceAutomatically(const JobInput& i_input);
/// Checks bed, height and collisions without slicing. Fails with all that is wrong; otherwise notes that the platform
/// passed.
CommandResult CheckPlatform(const JobInput& i_input);
/// Makes a document of the scene description.
CommandResult MakeReportDocument(const JobInput& i_input);
/// Printer, settings and, when there are parts, figures of the platform as properties for the host's report.
CommandResult FillReport(const JobInput& i_input);

} // namespace MachineService::BuildProcessor
