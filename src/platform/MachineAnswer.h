#pragma once

#include "client/interface/CommunicationException.h"

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorcore/UiThread.h"

#include <QString>

#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <stop_token>

namespace MachineService {

// A ready future ends a slice at once; the slice is how late a cancellation or a progress report is seen.
inline constexpr std::chrono::milliseconds AnswerSlice{20};
/// How long a machine that was told to stop may take to answer; then nobody waits for it any more.
inline constexpr std::chrono::milliseconds AnswerGrace{500};

/// Waits on a job thread until the future is ready. \throws CommunicationException ProcessingAborted.
template <class Future>
void WaitUnderProgress(Future& io_future, VexlorCore::IJobProgress& io_progress)
{
    using Clock = std::chrono::steady_clock;
    const std::stop_token stop = io_progress.GetStopToken();
    std::optional<Clock::time_point> deadline;
    while (io_future.wait_for(AnswerSlice) == std::future_status::timeout) {
        if constexpr (requires { io_future.GetProgress(); })
            io_progress.SetProgress(io_future.GetProgress(), std::string());
        if (!stop.stop_requested())
            continue;
        if constexpr (requires { io_future.RequestStop(); })
            io_future.RequestStop();
        else
            break; // it cannot be told
        if (!deadline)
            deadline = Clock::now() + AnswerGrace;
        if (Clock::now() >= *deadline)
            break;
    }
    // Whatever a machine answers that was told to stop: the user knows it as the cancellation.
    if (stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    io_future.wait(); // runs a deferred answer here
}

/// The machine's answer: on the UI thread awaited under the host's progress display, elsewhere directly.
/// \throws CommunicationException ProcessingAborted when the user cancelled; what the machine or the host's display
/// throws.
template <class Future>
auto AwaitAnswer(Future& io_future, const std::function<IVexlorApiProvider&()>& i_api_provider, const QString& i_title)
{
    const bool isPending =
        io_future.valid() && io_future.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    if (isPending && i_api_provider && VexlorCore::UiThread::IsCurrent()) {
        i_api_provider().RunJobWithTitle(i_title, [&io_future](VexlorCore::IJobProgress& io_progress) {
            WaitUnderProgress(io_future, io_progress);
            return true;
        });
    }
    return io_future.get();
}

} // namespace MachineService
