#include "machinemanager/dispatch/JobRun.h"

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/FileStore.h"

#include <algorithm>

namespace MachineService::MachineManager {

namespace {

using std::chrono::steady_clock;

} // namespace

void JobRun::_Send()
{
    auto* const link = _GetLink();
    if (!link) {
        _Change(JobEvent::Kept);
        return;
    }
    try {
        const auto order = _MakeOrder();
        const auto size = std::max<std::uint64_t>(1, _job.machineFile->size);
        auto last = steady_clock::time_point();
        link->Send(
            order,
            [&](std::uint64_t i_bytes) {
                if (steady_clock::now() - last < std::chrono::seconds(1))
                    return;
                last = steady_clock::now();
                _SetProgress(static_cast<int>(std::min<std::uint64_t>(100, i_bytes * 100 / size)), "Sending");
            },
            _control->GetToken());
        // Before the printer is told: what ends between the two is not started again by itself.
        _Change(JobEvent::Sent, {}, [](Job& io_job) { io_job.percent = 0; });
    } catch (const Stopped&) {
        throw;
    } catch (const ManagerError& failure) {
        if (failure.GetKind() == ManagerError::Kind::LostClaim)
            throw;
        _HandleSendFailure(failure);
    } catch (const std::exception& failure) {
        _HandleSendFailure(failure);
    }
}

void JobRun::_HandleSendFailure(const std::exception& i_failure)
{
    if (_control->IsStopping())
        throw Stopped();
    if (!_Reread())
        return;
    if (_job.attempts + 1 >= _context.options.attempts) {
        _Change(JobEvent::SendFailed, i_failure.what(), [](Job& io_job) { io_job.attempts = 0; });
        return;
    }
    _Change(JobEvent::GiveBack, i_failure.what(), [this](Job& io_job) {
        ++io_job.attempts;
        io_job.notBefore = _context.store.Now() + _GetBackOff();
    });
}

void JobRun::_Start()
{
    _wasStarted = true;
    auto* const link = _GetLink();
    if (!link)
        return; // nobody can be asked any more; the deadline says so
    try {
        if (link->Start(_MakeOrder(), _control->GetToken()))
            _Change(JobEvent::StartConfirmed);
    } catch (const PrinterRefusal& refusal) {
        _Change(JobEvent::StartRefused, refusal.what(), [this](Job& io_job) {
            ++io_job.attempts;
            io_job.notBefore = _context.store.Now() + _GetBackOff();
        });
    } catch (const ManagerError&) {
        throw;
    } catch (const std::exception& failure) {
        _context.Log(_job, std::string("nobody knows whether it began: ") + failure.what());
    }
}

void JobRun::_Watch()
{
    _control->Wait(_context.options.poll);
    if (_control->IsStopping())
        throw Stopped();
    if (!_Reread())
        return;
    auto* const link = _GetLink();
    if (!link)
        return;
    PrintStatus status;
    try {
        status = link->GetStatus(_MakeOrder(), _control->GetToken());
    } catch (const std::exception& failure) {
        status.detail = failure.what();
    }
    _Follow(status);
}

void JobRun::_Follow(const PrintStatus& i_status)
{
    using State = PrintStatus::State;
    const auto now = steady_clock::now();
    if (i_status.state == State::Unknown) {
        _silentSince = _silentSince.value_or(now);
        if (_job.phase == JobPhase::Printing && now - *_silentSince > _context.options.reach)
            _Change(JobEvent::PrinterLost,
                    "The printer does not answer" +
                        (i_status.detail.empty() ? std::string() : " (" + i_status.detail + ")") +
                        "; look at it, then say whether the job is printed.");
        return;
    }
    _silentSince.reset();
    if (i_status.state == State::NotBegun)
        return;
    if (_job.phase == JobPhase::Starting ||
        (_job.phase == JobPhase::Unconfirmed && i_status.state != State::Printed && i_status.state != State::Failed))
        _Change(JobEvent::StartConfirmed);
    switch (i_status.state) {
    case State::Printing:
        if (_job.phase == JobPhase::Stopped)
            _Change(JobEvent::PrinterWentOn);
        if (i_status.percent != _job.percent)
            _SetProgress(i_status.percent, i_status.detail);
        break;
    case State::Stopped:
        if (_job.phase == JobPhase::Printing)
            _Change(JobEvent::PrinterStopped,
                    i_status.detail.empty() ? "The printer stands still; look at it." : i_status.detail);
        break;
    case State::Printed:
        _Finish();
        break;
    case State::Failed:
        _Change(JobEvent::PrintFailed, i_status.detail.empty() ? "The printer gave the job up." : i_status.detail);
        break;
    default:
        break;
    }
}

void JobRun::_Finish()
{
    const bool isLast = _job.copiesDone + 1 >= _job.copies;
    _wasStarted = false;
    _Change(isLast || _job.phase == JobPhase::Unconfirmed ? JobEvent::Printed : JobEvent::CopyPrinted, {},
            [](Job& io_job) {
                ++io_job.copiesDone;
                io_job.percent = 0;
                io_job.attempts = 0;
            });
}

void JobRun::_Cancel()
{
    _control->Renew();
    std::string detail;
    if (auto* const link = _job.machineFile ? _GetLink() : nullptr) {
        try {
            link->Cancel(_MakeOrder(), _control->GetToken());
        } catch (const std::exception& failure) {
            detail = std::string("The printer could not be told: ") + failure.what() + " Look at it.";
        }
    }
    _Change(JobEvent::CancelDone, detail);
}

IPrinterLink* JobRun::_GetLink()
{
    if (!_link) {
        const auto entry = _context.store.FindMachine(_job.machine);
        if (!entry || entry->printer.empty())
            return nullptr;
        _link = _context.options.makeLink(entry->printer);
    }
    return _link.get();
}

PrintOrder JobRun::_MakeOrder() const
{
    PrintOrder order;
    order.job = _job.id;
    order.copy = _job.copiesDone + 1;
    order.jobName = _job.name;
    order.file = _context.files.GetPath(_job.machineFile->hash);
    order.fileName = _job.machineFile->name;
    order.hash = _job.machineFile->hash;
    order.hasBegun = _job.phase == JobPhase::Printing || _job.phase == JobPhase::Stopped;
    return order;
}

} // namespace MachineService::MachineManager
