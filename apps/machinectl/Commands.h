#pragma once

#include "machinectl/ExitStatus.h"

namespace MachineCtl {

class Session;

/// What the commands of the table do.
///
/// Thread: not the main thread, whose event loop hears of signals.
/// Errors: JobsError, HostingError and others with a sentence; Hosting::Interruption.
namespace Commands {

ExitStatus ListMachines(Session& io_session);
ExitStatus DescribeMachine(Session& io_session);
ExitStatus TellLoaded(Session& io_session);
ExitStatus PauseMachine(Session& io_session);
ExitStatus ResumeMachine(Session& io_session);
ExitStatus TellPrinter(Session& io_session);

ExitStatus ListJobs(Session& io_session);
ExitStatus ShowJob(Session& io_session);
/// Hold, release and the others that are named like an action of jobs.
ExitStatus ActOnJob(Session& io_session);
ExitStatus MoveJob(Session& io_session);
ExitStatus SetPriority(Session& io_session);
ExitStatus CopyJob(Session& io_session);
ExitStatus Watch(Session& io_session);
ExitStatus Open(Session& io_session);

ExitStatus Submit(Session& io_session);
ExitStatus Fetch(Session& io_session);
ExitStatus Estimate(Session& io_session);

ExitStatus Backup(Session& io_session);
ExitStatus Restore(Session& io_session);
ExitStatus Check(Session& io_session);

ExitStatus PrintCompletion(Session& io_session);
ExitStatus PrintManual(Session& io_session);

} // namespace Commands

} // namespace MachineCtl
