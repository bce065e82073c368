#include "machinemanager/jobs/JobState.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace MachineService::MachineManager {

namespace {

using std::chrono::hours;
using std::chrono::seconds;
using Phase = JobPhase;
using Event = JobEvent;
using Exit = PhaseExit;

// docs/machine-manager.md shows both tables; a test compares them.
constexpr JobPhaseInfo Phases[] = {
    {Phase::Incoming, "incoming", JobState::PendingHeld, "job-incoming", Exit::Deadline, hours(24),
     Event::UploadTimedOut},
    {Phase::Held, "held", JobState::PendingHeld, "job-hold-until-specified", Exit::Operator, {}, {}},
    {Phase::Waiting, "waiting", JobState::Pending, "job-queued", Exit::Dispatch, {}, {}},
    {Phase::Building, "building", JobState::Processing, "job-transforming", Exit::Claim, {}, {}},
    {Phase::Sending, "sending", JobState::Processing, "job-outgoing", Exit::Claim, {}, {}},
    {Phase::Starting, "starting", JobState::Processing, "queued-in-device", Exit::Deadline, seconds(60),
     Event::StartTimedOut},
    {Phase::Printing, "printing", JobState::Processing, "job-printing", Exit::Claim, {}, {}},
    // The protocol has no word for it: whoever starts it once more may print it twice.
    {Phase::Unconfirmed, "unconfirmed", JobState::ProcessingStopped, "start-unconfirmed", Exit::Operator, {}, {}},
    {Phase::Stopped, "stopped", JobState::ProcessingStopped, "printer-stopped", Exit::Operator, {}, {}},
    {Phase::Canceling, "canceling", JobState::Processing, "processing-to-stop-point", Exit::Deadline, seconds(30),
     Event::CancelTimedOut},
    {Phase::Canceled, "canceled", JobState::Canceled, "job-canceled-by-user", Exit::None, {}, {}},
    {Phase::Aborted, "aborted", JobState::Aborted, "aborted-by-system", Exit::None, {}, {}},
    {Phase::Completed, "completed", JobState::Completed, "job-completed-successfully", Exit::None, {}, {}},
};

constexpr JobTransition Transitions[] = {
    {Phase::Incoming, Event::Received, Phase::Waiting},
    {Phase::Incoming, Event::ReceivedDraft, Phase::Held},
    {Phase::Incoming, Event::UploadTimedOut, Phase::Aborted},
    {Phase::Incoming, Event::Cancel, Phase::Canceled},

    {Phase::Held, Event::Release, Phase::Waiting},
    {Phase::Held, Event::Cancel, Phase::Canceled},

    {Phase::Waiting, Event::Hold, Phase::Held},
    {Phase::Waiting, Event::Claim, Phase::Building},
    {Phase::Waiting, Event::ClaimForSending, Phase::Sending},
    {Phase::Waiting, Event::Cancel, Phase::Canceled},

    {Phase::Building, Event::Built, Phase::Sending},
    {Phase::Building, Event::Kept, Phase::Completed},
    {Phase::Building, Event::BuildFailed, Phase::Aborted},
    {Phase::Building, Event::GiveBack, Phase::Waiting},
    {Phase::Building, Event::ClaimLost, Phase::Waiting},
    {Phase::Building, Event::Cancel, Phase::Canceling},

    // The printer may have the file by now, but it begins with nothing before it is told to.
    {Phase::Sending, Event::Sent, Phase::Starting},
    {Phase::Sending, Event::Kept, Phase::Completed},
    {Phase::Sending, Event::SendFailed, Phase::Held},
    {Phase::Sending, Event::GiveBack, Phase::Waiting},
    {Phase::Sending, Event::ClaimLost, Phase::Waiting},
    {Phase::Sending, Event::Cancel, Phase::Canceling},

    // From here on nobody but an operator, or the printer itself, says that nothing was started.
    {Phase::Starting, Event::StartConfirmed, Phase::Printing},
    {Phase::Starting, Event::StartRefused, Phase::Waiting},
    {Phase::Starting, Event::StartTimedOut, Phase::Unconfirmed},
    {Phase::Starting, Event::ClaimLost, Phase::Unconfirmed},
    {Phase::Starting, Event::Cancel, Phase::Canceling},

    {Phase::Unconfirmed, Event::StartConfirmed, Phase::Printing},
    {Phase::Unconfirmed, Event::Printed, Phase::Completed},
    {Phase::Unconfirmed, Event::PrintFailed, Phase::Aborted},
    {Phase::Unconfirmed, Event::StartAgain, Phase::Waiting},
    {Phase::Unconfirmed, Event::ConfirmDone, Phase::Completed},
    {Phase::Unconfirmed, Event::ClaimLost, Phase::Unconfirmed},
    {Phase::Unconfirmed, Event::Cancel, Phase::Canceling},

    {Phase::Printing, Event::PrinterStopped, Phase::Stopped},
    {Phase::Printing, Event::PrinterLost, Phase::Stopped},
    {Phase::Printing, Event::Printed, Phase::Completed},
    {Phase::Printing, Event::CopyPrinted, Phase::Waiting},
    {Phase::Printing, Event::PrintFailed, Phase::Aborted},
    {Phase::Printing, Event::ConfirmDone, Phase::Completed},
    {Phase::Printing, Event::ClaimLost, Phase::Printing},
    {Phase::Printing, Event::Cancel, Phase::Canceling},

    {Phase::Stopped, Event::PrinterWentOn, Phase::Printing},
    {Phase::Stopped, Event::Printed, Phase::Completed},
    {Phase::Stopped, Event::CopyPrinted, Phase::Waiting},
    {Phase::Stopped, Event::PrintFailed, Phase::Aborted},
    {Phase::Stopped, Event::StartAgain, Phase::Waiting},
    {Phase::Stopped, Event::ConfirmDone, Phase::Completed},
    {Phase::Stopped, Event::ClaimLost, Phase::Stopped},
    {Phase::Stopped, Event::Cancel, Phase::Canceling},

    {Phase::Canceling, Event::CancelDone, Phase::Canceled},
    {Phase::Canceling, Event::CancelTimedOut, Phase::Canceled},
    {Phase::Canceling, Event::ClaimLost, Phase::Canceled},
};

constexpr std::array StateNames = {
    std::pair{JobState::Pending, "pending"},       std::pair{JobState::PendingHeld, "pending-held"},
    std::pair{JobState::Processing, "processing"}, std::pair{JobState::ProcessingStopped, "processing-stopped"},
    std::pair{JobState::Canceled, "canceled"},     std::pair{JobState::Aborted, "aborted"},
    std::pair{JobState::Completed, "completed"},
};

constexpr std::array EventNames = {
    std::pair{Event::Received, "received"},
    std::pair{Event::ReceivedDraft, "received-draft"},
    std::pair{Event::UploadTimedOut, "upload-timed-out"},
    std::pair{Event::Hold, "hold"},
    std::pair{Event::Release, "release"},
    std::pair{Event::Claim, "claim"},
    std::pair{Event::ClaimForSending, "claim-for-sending"},
    std::pair{Event::ClaimLost, "claim-lost"},
    std::pair{Event::GiveBack, "give-back"},
    std::pair{Event::BuildFailed, "build-failed"},
    std::pair{Event::Built, "built"},
    std::pair{Event::Kept, "kept"},
    std::pair{Event::SendFailed, "send-failed"},
    std::pair{Event::Sent, "sent"},
    std::pair{Event::StartRefused, "start-refused"},
    std::pair{Event::StartConfirmed, "start-confirmed"},
    std::pair{Event::StartTimedOut, "start-timed-out"},
    std::pair{Event::PrinterStopped, "printer-stopped"},
    std::pair{Event::PrinterLost, "printer-lost"},
    std::pair{Event::PrinterWentOn, "printer-went-on"},
    std::pair{Event::CopyPrinted, "copy-printed"},
    std::pair{Event::Printed, "printed"},
    std::pair{Event::PrintFailed, "print-failed"},
    std::pair{Event::StartAgain, "start-again"},
    std::pair{Event::ConfirmDone, "confirm-done"},
    std::pair{Event::Cancel, "cancel"},
    std::pair{Event::CancelDone, "cancel-done"},
    std::pair{Event::CancelTimedOut, "cancel-timed-out"},
};

template <class Names, class Value>
const char* NameOf(const Names& i_names, Value i_value)
{
    return std::find_if(std::begin(i_names), std::end(i_names),
                        [&](const auto& i_row) { return i_row.first == i_value; })
        ->second;
}

template <class Names>
auto ValueOf(const Names& i_names, std::string_view i_name)
{
    const auto found =
        std::find_if(std::begin(i_names), std::end(i_names), [&](const auto& i_row) { return i_row.second == i_name; });
    return found == std::end(i_names) ? std::nullopt : std::optional(found->first);
}

} // namespace

std::span<const JobPhaseInfo> GetJobPhases()
{
    return Phases;
}

std::span<const JobTransition> GetJobTransitions()
{
    return Transitions;
}

const JobPhaseInfo& GetInfo(JobPhase i_phase)
{
    return Phases[static_cast<std::size_t>(i_phase)];
}

std::optional<JobPhase> FindNextPhase(JobPhase i_phase, JobEvent i_event)
{
    for (const auto& row : Transitions) {
        if (row.from == i_phase && row.event == i_event)
            return row.to;
    }
    return std::nullopt;
}

bool IsFinal(JobPhase i_phase)
{
    return GetInfo(i_phase).exit == PhaseExit::None;
}

bool NeedsClaim(JobPhase i_phase)
{
    return FindNextPhase(i_phase, JobEvent::ClaimLost).has_value();
}

const char* GetName(JobState i_state)
{
    return NameOf(StateNames, i_state);
}

const char* GetName(JobEvent i_event)
{
    return NameOf(EventNames, i_event);
}

std::optional<JobPhase> FindPhase(std::string_view i_name)
{
    const auto found =
        std::find_if(std::begin(Phases), std::end(Phases), [&](const auto& i_row) { return i_row.name == i_name; });
    return found == std::end(Phases) ? std::nullopt : std::optional(found->phase);
}

std::optional<JobState> FindState(std::string_view i_name)
{
    return ValueOf(StateNames, i_name);
}

std::optional<JobEvent> FindEvent(std::string_view i_name)
{
    return ValueOf(EventNames, i_name);
}

} // namespace MachineService::MachineManager
