#include "machinemanager/dispatch/JobRun.h"

#include "client/interface/CommunicationException.h"
#include "client/interface/ScopedTempDir.h"
#include "machinemanager/dispatch/BuildFiles.h"
#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/FileStore.h"
#include "tavsdk/StopExceptions.h"
#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <utility>

namespace MachineService::MachineManager {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A machine that does not give up when it is asked is left to itself.
constexpr milliseconds Patience(1000);
constexpr milliseconds LookInterval(100);
constexpr milliseconds StoreRetry(1000);

bool IsForLater(ErrorCode i_code)
{
    switch (i_code) {
    case ErrorCode::ServicesUnavailable:
    case ErrorCode::MachineNotFound:
    case ErrorCode::QueuePaused:
    case ErrorCode::QueueError:
    case ErrorCode::QueueOffline:
        return true;
    default:
        return false;
    }
}

/// The machine's own sentence; services give none with codes that hosts have one for.
std::string Describe(const std::exception& i_failure)
{
    const std::string text = i_failure.what();
    if (!text.empty())
        return text;
    const auto* const failure = dynamic_cast<const CommunicationException*>(&i_failure);
    return "The machine did not build the job (error " +
           std::to_string(failure ? static_cast<int>(failure->code()) : 0) + "); look at the machine.";
}

} // namespace

void DispatchContext::Log(const Job& i_job, const std::string& i_text) const
{
    if (options.log)
        options.log("job " + std::to_string(i_job.number) + ": " + i_text);
}

JobRun::JobRun(const DispatchContext& i_context, Job i_job, std::shared_ptr<RunControl> ip_control)
    : _context(i_context)
    , _job(std::move(i_job))
    , _control(std::move(ip_control))
{}

JobRun::~JobRun() = default;

void JobRun::Run()
{
    const auto tell = [this](const char* ip_why) {
        _context.Log(_job, std::string("is left as it is: ") + ip_why);
    };
    try {
        while (NeedsClaim(_job.phase))
            _Step();
    } catch (const Stopped&) {
        TavSDK::StopExceptions([this] { _GiveBack(); }, tell);
    } catch (const std::exception& failure) {
        tell(failure.what());
    }
}

void JobRun::_Step()
{
    if (_control->IsStopping())
        throw Stopped();
    switch (_job.phase) {
    case JobPhase::Building:
        return _Build();
    case JobPhase::Sending:
        return _Send();
    case JobPhase::Starting:
        return _wasStarted ? _Watch() : _Start();
    case JobPhase::Canceling:
        return _Cancel();
    default:
        return _Watch();
    }
}

void JobRun::_Build()
{
    try {
        const ScopedTempDir input;
        const ScopedTempDir output;
        const auto machine = _context.board.Find(_job.machine);
        if (!machine || machine->buildCommand.is_nil())
            throw CommunicationException(ErrorCode::MachineNotFound, "The machine is not offered any more.");
        auto parameters = MakeBuildParameters(_job, _context.files.GetPath(_job.platform.hash), input.GetAbsoluteDir());
        parameters.commandId = machine->buildCommand;
        parameters.outputDir = output.GetAbsoluteDir();
        parameters.stopToken = _control->GetToken();
        parameters.onProgress = [&context = _context, claim = JobClaim{_job.id, _job.fence},
                                 last = std::make_shared<steady_clock::time_point>()](int i_percent,
                                                                                      const std::string& i_stage) {
            const auto now = steady_clock::now();
            if (now - *last < std::chrono::seconds(1))
                return;
            *last = now;
            // Whoever does not learn how far it is learns how it ended.
            TavSDK::StopExceptions([&] { context.store.SetProgress(claim, i_percent, i_stage); }, [](const char*) {});
        };
        const auto result = _Await(_context.board.GetMachine(_job.machine).RunCommand(parameters));
        if (result.status != 0 || !result.completed)
            throw CommunicationException(result.status != 0 ? static_cast<ErrorCode>(result.status)
                                                            : ErrorCode::ProcessingError,
                                         result.message.c_str());
        _TakeResult(output.GetAbsoluteDir());
    } catch (const Stopped&) {
        throw;
    } catch (const ManagerError& failure) {
        if (failure.GetKind() == ManagerError::Kind::LostClaim)
            throw;
        _HandleBuildFailure(failure);
    } catch (const std::exception& failure) {
        _HandleBuildFailure(failure);
    }
}

CommandResult JobRun::_Await(std::future<CommandResult> i_answer) const
{
    std::optional<steady_clock::time_point> asked;
    while (i_answer.wait_for(LookInterval) != std::future_status::ready) {
        if (!_control->GetToken().stop_requested())
            continue;
        if (!asked)
            asked = steady_clock::now();
        else if (steady_clock::now() - *asked > Patience)
            throw CommunicationException(ErrorCode::ProcessingAborted);
    }
    return i_answer.get();
}

void JobRun::_TakeResult(const std::filesystem::path& i_output)
{
    const auto built = ReadBuildOutput(i_output);
    const auto hold = _context.files.Hold();
    const auto kept = _context.files.Add(built.machineFile, built.name, _control->GetToken());
    _Change(_GetLink() ? JobEvent::Built : JobEvent::Kept, {}, [&](Job& io_job) {
        io_job.machineFile = kept;
        if (built.estimates)
            io_job.estimates = *built.estimates;
        io_job.attempts = 0;
    });
}

void JobRun::_HandleBuildFailure(const std::exception& i_failure)
{
    if (_control->IsStopping())
        throw Stopped();
    if (!_Reread())
        return; // canceled, which is why it failed
    const auto* const failure = dynamic_cast<const CommunicationException*>(&i_failure);
    const auto* const own = dynamic_cast<const ManagerError*>(&i_failure);
    const bool isLater =
        (failure && IsForLater(failure->code())) || (own && own->GetKind() == ManagerError::Kind::Storage);
    if (!isLater) {
        _Change(JobEvent::BuildFailed, Describe(i_failure));
        return;
    }
    _Change(JobEvent::GiveBack, Describe(i_failure), [this](Job& io_job) {
        ++io_job.attempts;
        io_job.notBefore = _context.store.Now() + _GetBackOff();
    });
}

void JobRun::_GiveBack()
{
    if (_job.phase == JobPhase::Building || _job.phase == JobPhase::Sending)
        _context.store.Change(
            JobClaim{_job.id, _job.fence},
            {JobEvent::GiveBack, "system", "The manager was stopped; the job goes on when it is back."});
}

void JobRun::_Change(JobEvent i_event, const std::string& i_detail, const std::function<void(Job&)>& i_edit)
{
    for (bool isTold = false;;) {
        try {
            _job = _context.store.Change(JobClaim{_job.id, _job.fence}, {i_event, "system", i_detail, i_edit});
            return;
        } catch (const ManagerError& failure) {
            if (failure.GetKind() == ManagerError::Kind::Conflict) {
                // Somebody was faster, or the store did it before and could not say so.
                if (_Reread())
                    throw;
                return;
            }
            if (failure.GetKind() != ManagerError::Kind::Storage)
                throw;
            if (!std::exchange(isTold, true))
                _context.Log(_job, std::string("waits for the store: ") + failure.what());
        }
        if (_control->IsStopping())
            throw Stopped();
        _control->Wait(StoreRetry);
    }
}

bool JobRun::_Reread()
{
    std::optional<Job> job;
    try {
        job = _context.store.Find(_job.id);
    } catch (const ManagerError& failure) {
        if (failure.GetKind() != ManagerError::Kind::Storage)
            throw;
        return true; // nothing else is known
    }
    if (!job || job->fence != _job.fence || (NeedsClaim(job->phase) && job->claimant != _context.store.GetDaemon()))
        throw ManagerError(ManagerError::Kind::LostClaim, "Another daemon works on it.");
    const bool isSame = job->phase == _job.phase;
    _job = std::move(*job);
    return isSame;
}

void JobRun::_SetProgress(int i_percent, const std::string& i_stage)
{
    TavSDK::StopExceptions(
        [&] {
            _context.store.SetProgress(JobClaim{_job.id, _job.fence}, i_percent, i_stage);
            _job.percent = i_percent;
        },
        [](const char*) {});
}

milliseconds JobRun::_GetBackOff() const
{
    return std::min<milliseconds>(LongestPutOff, _context.options.retry * (1LL << std::min(_job.attempts, 10)));
}

} // namespace MachineService::MachineManager
