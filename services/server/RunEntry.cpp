#include "client/interface/CommunicationException.h"
#include "server/RunEntry_p.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "wire/Conversions.h"

#include <algorithm>

namespace MachineService::Server {

namespace {

/// How soon a run sees that it is to give up; its machine sees it at once, by its token.
constexpr auto LookForStop = std::chrono::milliseconds(50);
/// What a machine has for giving up before the run is told to have failed.
constexpr auto GivingUp = std::chrono::milliseconds(700);

std::exception_ptr MakeAborted()
{
    return std::make_exception_ptr(CommunicationException(ErrorCode::ProcessingAborted, "The run was cancelled."));
}

} // namespace

RunBook::Entry::Entry(RunOrder i_order, std::shared_ptr<Bell> ip_bell, std::function<Clock::time_point()> i_now)
    : order(std::move(i_order))
    , bell(std::move(ip_bell))
    , now(std::move(i_now))
{
    {
        // Not both at once: uploads take the other one first.
        const TavSDK::MutexLock lock(mutex);
        state.id = order.id;
        lastWord = now();
    }
    if (!order.input)
        return;
    const TavSDK::MutexLock uploadLock(uploadMutex);
    incoming.emplace(inputDir.GetAbsoluteFileNameInTempDir(order.input->name), order.input->size, order.input->hash);
}

RunState RunBook::Entry::GetState() const
{
    const TavSDK::MutexLock lock(mutex);
    return state;
}

bool RunBook::Entry::Fail(const std::exception_ptr& ip_failure)
{
    bool isFirst = false;
    Update([&](RunState& io_state) {
        io_state.phase = RunState::Phase::Failed;
        io_state.failure = ip_failure;
        isFirst = true;
    });
    return isFirst;
}

void RunBook::Entry::Carry()
{
    try {
        CommandParameters parameters = order.parameters;
        if (order.input)
            parameters.inputFile = inputDir.GetAbsoluteFileNameInTempDir(order.input->name);
        parameters.outputDir = outputDir.GetAbsoluteDir();
        parameters.stopToken = stop.get_token();
        parameters.onProgress = [weak = weak_from_this()](int i_percent, const std::string& i_stage) {
            if (const auto entry = weak.lock())
                entry->Update([&](RunState& io_state) {
                    io_state.percent = std::clamp(i_percent, io_state.percent, 100);
                    io_state.stage = i_stage;
                });
        };
        auto answer = order.begin(parameters);
        if (!answer.valid())
            throw CommunicationException(ErrorCode::InternalError, "The machine does not offer this.");
        const CommandResult result = _Wait(std::move(answer));
        const auto files = _ListFiles();
        Update([&](RunState& io_state) {
            io_state.phase = RunState::Phase::Finished;
            io_state.percent = 100;
            io_state.result = result;
            io_state.files = files;
        });
    } catch (...) {
        Fail(stop.stop_requested() ? MakeAborted() : std::current_exception());
    }
    hasLeft = true;
}

CommandResult RunBook::Entry::_Wait(std::future<CommandResult> i_answer)
{
    std::optional<Clock::time_point> stoppedAt;
    while (i_answer.wait_for(LookForStop) != std::future_status::ready) {
        if (!stop.stop_requested())
            continue;
        if (!stoppedAt)
            stoppedAt = Clock::now();
        if (Clock::now() - *stoppedAt < GivingUp)
            continue;
        Fail(MakeAborted());
        // The folders stay while the machine may write into them, unless everything goes down.
        if (isClosing)
            throw CommunicationException(ErrorCode::ProcessingAborted);
    }
    const auto result = i_answer.get();
    if (stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    return result;
}

std::vector<RunFile> RunBook::Entry::_ListFiles() const
{
    std::vector<RunFile> files;
    for (const auto& path : outputDir.GetFilesByFilter("*")) {
        const auto name = TavSDK::ShowPath(path.filename());
        if (!Wire::IsPlainFileName(name))
            continue;
        if (files.size() == Wire::MaxResultFiles)
            throw CommunicationException(ErrorCode::FileError,
                                         "The run left more files than can be sent; reduce what it writes.");
        try {
            TavSDK::InputFile file(path, TavSDK::InputFile::Links::Refuse);
            auto& told = files.emplace_back(RunFile{name, file.GetSize(), {}});
            if (order.takesLateHashes)
                continue;
            told.hash = Wire::HashOfFile(file, [this] {
                if (stop.stop_requested())
                    throw CommunicationException(ErrorCode::ProcessingAborted);
            });
        } catch (const TavSDK::FileError& error) {
            throw CommunicationException(
                ErrorCode::FileError,
                ("The file '" + TavSDK::ShowPath(path) + "' of the run cannot be read: " + error.what() + ".").c_str());
        }
    }
    return files;
}

} // namespace MachineService::Server
