#include "commands/ServiceAnswer.h"

#include "client/interface/CommunicationException.h"

#include "tavsdk/Utf8.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace MachineService::Helpers {

namespace {

using Clock = std::chrono::steady_clock;

// A ready future ends a slice at once; the slice is how late a cancellation or a progress report is seen.
constexpr std::chrono::milliseconds WaitSlice{20};
constexpr std::chrono::milliseconds GraceAfterCancel{500};
constexpr std::size_t MaxStageBytes = 500;

/// Where a service leaves its progress. The service may keep it for longer than the run and report late: it then
/// reaches nobody.
class ProgressMailbox
{
public:
    using Report = std::pair<int, std::string>;

    void Put(int i_percent, const std::string& i_stage)
    {
        Report report(std::clamp(i_percent, 0, 100), std::string(TavSDK::CutUtf8(i_stage, MaxStageBytes)));
        const std::lock_guard lock(_mutex);
        _latest = std::move(report);
    }

    /// The latest report that was not taken yet.
    std::optional<Report> Take()
    {
        const std::lock_guard lock(_mutex);
        return std::exchange(_latest, std::nullopt);
    }

private:
    std::mutex _mutex; // guards _latest
    std::optional<Report> _latest;
};

void PassOn(ProgressMailbox& io_mailbox, VexlorCore::IJobProgress& io_progress)
{
    if (const auto report = io_mailbox.Take())
        io_progress.SetProgress(report->first, report->second);
}

/// False when the service did not answer in time after a cancellation.
bool WaitUntilReady(const std::future<CommandResult>& i_answer, ProgressMailbox& io_mailbox,
                    VexlorCore::IJobProgress& io_progress)
{
    const std::stop_token stop_token = io_progress.GetStopToken();
    std::optional<Clock::time_point> deadline;
    // A deferred future never becomes ready by itself: get() runs it.
    while (i_answer.wait_for(WaitSlice) == std::future_status::timeout) {
        PassOn(io_mailbox, io_progress);
        if (!stop_token.stop_requested())
            continue;
        if (!deadline)
            deadline = Clock::now() + GraceAfterCancel;
        else if (Clock::now() >= *deadline)
            return false;
    }
    PassOn(io_mailbox, io_progress);
    return true;
}

} // namespace

CommandResult AwaitServiceAnswer(const MachineOperation& i_operation, CommandParameters i_parameters,
                                 VexlorCore::IJobProgress& io_progress)
{
    const auto mailbox = std::make_shared<ProgressMailbox>();
    i_parameters.stopToken = io_progress.GetStopToken();
    i_parameters.onProgress = [mailbox](int i_percent, const std::string& i_stage) {
        mailbox->Put(i_percent, i_stage);
    };

    std::future<CommandResult> answer = i_operation(i_parameters);
    if (!answer.valid())
        throw CommunicationException(ErrorCode::UnexpectedOutput);
    try {
        if (!WaitUntilReady(answer, *mailbox, io_progress))
            throw CommunicationException(ErrorCode::ProcessingAborted);
        CommandResult result = answer.get();
        // What the Machine Manager has taken cannot be called aborted any more.
        if (result.secondStatus != SubmissionSent)
            ThrowIfCancelled(io_progress);
        return result;
    } catch (...) {
        // Whatever a service says when it was told to stop: the user knows it as the cancellation.
        ThrowIfCancelled(io_progress);
        throw;
    }
}

void ThrowIfCancelled(const VexlorCore::IJobProgress& i_progress)
{
    if (i_progress.GetStopToken().stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
}

} // namespace MachineService::Helpers
