#pragma once

#include "machinemanager/dispatch/Dispatcher.h"
#include "machinemanager/dispatch/MachineBoard.h"
#include "machinemanager/dispatch/RunControl.h"
#include "machinemanager/jobs/Job.h"
#include "machinemanager/store/JobStore.h"

#include <future>
#include <memory>
#include <optional>
#include <stop_token>

namespace MachineService::MachineManager {

/// What all runs of a dispatcher share.
struct DispatchContext
{
    JobStore& store;
    FileStore& files;
    const MachineBoard& board;
    DispatchOptions options;

    void Log(const Job& i_job, const std::string& i_text) const;
};

/// One job on one machine, from the claim until it is over, waits again, or somebody else has it.
///
/// Thread: one.
class JobRun
{
public:
    JobRun(const DispatchContext& i_context, Job i_job, std::shared_ptr<RunControl> ip_control);
    ~JobRun();

    /// Never throws.
    void Run();

private:
    struct Stopped
    {};

    void _Step();
    void _Build();
    CommandResult _Await(std::future<CommandResult> i_answer) const;
    void _TakeResult(const std::filesystem::path& i_output);
    void _HandleBuildFailure(const std::exception& i_failure);
    void _Send();
    void _HandleSendFailure(const std::exception& i_failure);
    void _Start();
    void _Watch();
    void _Follow(const PrintStatus& i_status);
    void _Finish();
    void _Cancel();
    void _GiveBack();

    /// The next phase is that of the store afterwards, whoever changed it.
    void _Change(JobEvent i_event, const std::string& i_detail = {}, const std::function<void(Job&)>& i_edit = {});
    /// \return false when the phase is another one than before, or the claim is gone (which throws).
    bool _Reread();
    void _SetProgress(int i_percent, const std::string& i_stage);
    std::chrono::milliseconds _GetBackOff() const;
    IPrinterLink* _GetLink();
    PrintOrder _MakeOrder() const;

    const DispatchContext& _context;
    Job _job;
    const std::shared_ptr<RunControl> _control;
    std::unique_ptr<IPrinterLink> _link;
    bool _wasStarted = false;                                          ///< the printer was told to begin, by this run
    std::optional<std::chrono::steady_clock::time_point> _silentSince; ///< of the printer
};

} // namespace MachineService::MachineManager
