#include "commands/ServiceAnswer.h"

#include "client/interface/CommunicationException.h"
#include "commands/CommandTexts.h"
#include "platform/MachineAnswer.h"

#include "tavsdk/Mutex.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace MachineService::Helpers {

namespace {

constexpr int MaxStageLength = 200;

/// Where a service leaves its progress. The service may keep it for longer than the run and report late: it then
/// reaches nobody.
class ProgressMailbox
{
public:
    using Report = std::pair<int, std::string>;

    void Put(int i_percent, const std::string& i_stage)
    {
        Report report(std::clamp(i_percent, 0, 100), ToDisplayText(i_stage, MaxStageLength).simplified().toStdString());
        const TavSDK::MutexLock lock(_mutex);
        _latest = std::move(report);
    }

    /// The latest report that was not taken yet.
    std::optional<Report> Take()
    {
        const TavSDK::MutexLock lock(_mutex);
        return std::exchange(_latest, std::nullopt);
    }

private:
    TavSDK::Mutex _mutex; // guards _latest
    std::optional<Report> _latest TAVSDK_GUARDED_BY(_mutex);
};

bool Wait(const std::future<CommandResult>& i_answer, ProgressMailbox& io_mailbox,
          VexlorCore::IJobProgress& io_progress)
{
    PendingAnswer pending;
    pending.wait = [&i_answer](std::chrono::milliseconds i_time) {
        return i_answer.wait_for(i_time);
    };
    pending.passProgressOn = [&] {
        if (const auto report = io_mailbox.Take())
            io_progress.SetProgress(report->first, report->second);
    };
    // The parameters' stop token has told it.
    pending.tellToStop = [] {
    };
    return WaitUnderProgress(pending, io_progress);
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
        if (!Wait(answer, *mailbox, io_progress))
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

} // namespace MachineService::Helpers
