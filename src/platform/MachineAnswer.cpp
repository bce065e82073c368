#include "platform/MachineAnswer.h"

#include <optional>
#include <stop_token>

namespace MachineService {

namespace {

using Clock = std::chrono::steady_clock;

// A ready future ends a slice at once; the slice is how late a cancellation or a progress report is seen.
constexpr std::chrono::milliseconds WaitSlice{20};
constexpr std::chrono::milliseconds GraceAfterCancel{400};

} // namespace

bool WaitUnderProgress(const PendingAnswer& i_answer, const VexlorCore::IJobProgress& i_progress)
{
    const std::stop_token stop = i_progress.GetStopToken();
    std::optional<Clock::time_point> deadline;
    // A deferred answer never becomes ready by itself: asking for it makes it.
    while (i_answer.wait(WaitSlice) == std::future_status::timeout) {
        if (i_answer.passProgressOn)
            i_answer.passProgressOn();
        if (!stop.stop_requested())
            continue;
        if (!i_answer.tellToStop)
            return false;
        i_answer.tellToStop();
        if (!deadline)
            deadline = Clock::now() + GraceAfterCancel;
        if (Clock::now() >= *deadline)
            return false;
    }
    if (i_answer.passProgressOn)
        i_answer.passProgressOn();
    return true;
}

void ThrowIfCancelled(const VexlorCore::IJobProgress& i_progress)
{
    if (i_progress.GetStopToken().stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
}

} // namespace MachineService
