#pragma once

#include "client/interface/CommunicationException.h"

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorcore/UiThread.h"

#include <QString>

#include <chrono>
#include <functional>
#include <future>

namespace MachineService {

/// An answer of a machine as the wait for it sees it.
struct PendingAnswer
{
    /// Waits this long at most.
    std::function<std::future_status(std::chrono::milliseconds)> wait;
    /// Passes progress on to the display, on the thread that waits. May be empty.
    std::function<void()> passProgressOn;
    /// Tells the machine to stop, as often as it is called. Empty: it cannot be told.
    std::function<void()> tellToStop;
};

/// The one wait for machines: on a job thread, until the answer is there or nobody waits for it any more.
///
/// A machine that can be told to stop has 0.4 s for coming to an end after the user cancelled, so that the command has
/// returned within half a second.
/// \return false when the answer is not there; only after a cancellation. A deferred answer counts as there.
bool WaitUnderProgress(const PendingAnswer& i_answer, const VexlorCore::IJobProgress& i_progress);

/// \throws CommunicationException ProcessingAborted when the user cancelled.
void ThrowIfCancelled(const VexlorCore::IJobProgress& i_progress);

/// The machine's answer: on the UI thread awaited under the host's progress display, elsewhere directly.
/// \throws CommunicationException ProcessingAborted when the user cancelled; what the machine or the host's display
/// throws.
template <class Future>
auto AwaitAnswer(Future& io_future, const VexlorCore::ApiProviderGetter& i_api_provider, const QString& i_title)
{
    const bool isPending =
        io_future.valid() && io_future.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    if (isPending && i_api_provider && VexlorCore::UiThread::IsCurrent()) {
        i_api_provider().RunJobWithTitle(i_title, [&io_future](VexlorCore::IJobProgress& io_progress) {
            PendingAnswer answer;
            answer.wait = [&io_future](std::chrono::milliseconds i_time) {
                return io_future.wait_for(i_time);
            };
            if constexpr (requires { io_future.GetProgress(); }) {
                answer.passProgressOn = [&] {
                    io_progress.SetProgress(io_future.GetProgress(), std::string());
                };
            }
            if constexpr (requires { io_future.RequestStop(); }) {
                answer.tellToStop = [&io_future] {
                    io_future.RequestStop();
                };
            }
            WaitUnderProgress(answer, io_progress);
            // Whatever a machine answers that was told to stop: the user knows it as the cancellation.
            ThrowIfCancelled(io_progress);
            io_future.wait(); // runs a deferred answer here
            return true;
        });
    }
    return io_future.get();
}

} // namespace MachineService
