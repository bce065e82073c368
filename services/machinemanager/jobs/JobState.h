#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace MachineService::MachineManager {

/// State of a job, with the names and numbers of the Internet Printing Protocol (RFC 8011, 5.3.7).
enum class JobState
{
    Pending = 3,
    PendingHeld = 4,
    Processing = 5,
    ProcessingStopped = 6,
    Canceled = 7,
    Aborted = 8,
    Completed = 9,
};

/// Where a job is. Each belongs to one JobState and says the first of the job's reasons.
enum class JobPhase
{
    Incoming,    ///< its platform file is not whole yet
    Held,        ///< a draft, or held by somebody
    Waiting,     ///< for a machine
    Building,    ///< the machine's Build command runs
    Sending,     ///< the machine file goes to the printer
    Starting,    ///< the printer is being told to begin, and may have begun
    Printing,    ///< the printer said that it began
    Unconfirmed, ///< told to begin, and nobody knows whether it did
    Stopped,     ///< it began, and the printer stands still or is out of reach
    Canceling,
    Canceled,
    Aborted,
    Completed,
};

/// What moves a job from one phase to another.
enum class JobEvent
{
    Received, ///< the platform file is whole
    ReceivedDraft,
    UploadTimedOut,
    Hold,
    Release,
    Claim,           ///< a daemon takes it for a machine
    ClaimForSending, ///< the same for a job whose machine file is there
    ClaimLost,       ///< the daemon that had it is gone
    GiveBack,        ///< nothing was started: it waits again
    BuildFailed,
    Built,      ///< and there is a printer to send it to
    Kept,       ///< built for a machine without a printer: the machine file is what was wanted
    SendFailed, ///< too often
    Sent,
    StartRefused, ///< the printer said that it did not begin
    StartConfirmed,
    StartTimedOut,
    PrinterStopped,
    PrinterLost,
    PrinterWentOn,
    CopyPrinted, ///< one of several
    Printed,
    PrintFailed,
    StartAgain,  ///< an operator says that nothing was started
    ConfirmDone, ///< an operator says that it is printed
    Cancel,
    CancelDone,
    CancelTimedOut,
};

/// What sees to it that a job leaves a phase that is not final.
enum class PhaseExit
{
    None,     ///< final
    Deadline, ///< JobPhaseInfo::deadline, counted from the moment at which the phase was reached
    Claim,    ///< of the daemon that has it, or the loss of the claim
    Dispatch, ///< as soon as a machine fits
    Operator,
};

/// One row of the table of phases.
struct JobPhaseInfo
{
    JobPhase phase;
    const char* name; ///< as the store and the interface have it
    JobState state;
    const char* reason; ///< keyword; those of the protocol where it has one
    PhaseExit exit;
    std::chrono::seconds deadline; ///< zero: none
    JobEvent atDeadline;           ///< what happens then
};

/// One row of the table of transitions.
struct JobTransition
{
    JobPhase from;
    JobEvent event;
    JobPhase to;
};

std::span<const JobPhaseInfo> GetJobPhases();
std::span<const JobTransition> GetJobTransitions();

const JobPhaseInfo& GetInfo(JobPhase i_phase);
/// Empty when the event means nothing in this phase.
std::optional<JobPhase> FindNextPhase(JobPhase i_phase, JobEvent i_event);
bool IsFinal(JobPhase i_phase);
/// The daemon that works on it has a claim.
bool NeedsClaim(JobPhase i_phase);

/// Keyword such as "processing-stopped".
const char* GetName(JobState i_state);
const char* GetName(JobEvent i_event);
std::optional<JobPhase> FindPhase(std::string_view i_name);
std::optional<JobState> FindState(std::string_view i_name);
std::optional<JobEvent> FindEvent(std::string_view i_name);

} // namespace MachineService::MachineManager
