#pragma once

#include "client/interface/CommandTypes.h"
#include "remote/RemoteService.h"
#include "remote/RunTransfer.h"
#include "tavsdk/InputFile.h"
#include "wire/ReceivedFile.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace MachineService::Remote {

/// What is run.
struct RunSubject
{
    pb::MachineReference machine;
    pb::RunKind kind = pb::RUN_KIND_COMMAND;
    DataFormat dataFormat = DataFormat::Undefined; ///< of the command
    std::string machineFolder;                     ///< of a build: see GetMachineFolderName; otherwise empty
};

/// One run of a command at a service, through any number of broken connections, as one and the same run.
///
/// Thread: one; waits for the service on it.
class RunCall
{
public:
    RunCall(std::shared_ptr<RemoteService> ip_service, const RunSubject& i_subject,
            const CommandParameters& i_parameters);

    /// \throws CommunicationException; the service was told then that the run is not wanted any more.
    CommandResult Execute();

private:
    void _OpenInput();
    void _Execute();
    /// Carries the next step out.
    void _Do(RunTransfer::Step i_step);
    void _Start();
    void _Upload();
    void _Watch();
    void _Download();
    void _Release();
    /// Of a build that returns platforms.
    void _KeepBuiltFiles() const;
    void _HandleState(const pb::Run& i_run);
    void _Report(const std::string& i_stage) const;
    void _Check(const grpc::Status& i_status, Call& io_call, bool i_was_idle = false) const;
    void _WaitForConnection();
    /// Tells the service that nobody waits any more. Does not wait long for it, and never throws.
    void _GiveUp() noexcept;
    pb::RunRequest _MakeRequest() const;
    std::unique_ptr<Wire::IdleWatchdog::Guard> _WatchIdle(std::chrono::milliseconds i_longest, Call& io_call);

    const std::shared_ptr<RemoteService> _service;
    const RunSubject& _subject;
    const CommandParameters& _parameters;
    std::shared_ptr<Connection> _connection;
    pb::StartRunRequest _request;
    std::optional<TavSDK::InputFile> _input;
    std::optional<RunTransfer> _transfer;
    std::optional<Wire::ReceivedFile> _file; ///< that is being downloaded
    std::stop_source _stop;                  ///< of the caller or of the service
    std::list<std::stop_callback<std::function<void()>>> _stops;
};

} // namespace MachineService::Remote
