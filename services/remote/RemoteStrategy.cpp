#include "remote/RemoteStrategy.h"

#include "contract/Guard.h"
#include "contract/JobFolder.h"
#include "contract/ReadyFuture.h"
#include "remote/PlatformCalls.h"
#include "remote/RunCall.h"
#include "remote/canrun/CanRunCall.h"
#include "wire/Conversions.h"

namespace MachineService::Remote {

RemoteStrategy::RemoteStrategy(const MachineData& i_data, std::shared_ptr<RemoteService> ip_service)
    : MachineStrategy(i_data)
    , _service(std::move(ip_service))
{}

std::shared_ptr<const StoredMachine> RemoteStrategy::_Get() const
{
    _service->ThrowIfClosed();
    const auto machine = _service->machines.Find(GetMachineData().id);
    if (!machine)
        throw CommunicationException(ErrorCode::MachineNotFound);
    if (machine->data.representation == GetMachineData().representation)
        return machine;
    for (const StoredMachine& other : machine->others) {
        if (other.data.representation == GetMachineData().representation)
            return {machine, &other};
    }
    throw CommunicationException(ErrorCode::MachineNotFound);
}

pb::MachineReference RemoteStrategy::_GetReference() const
{
    pb::MachineReference reference;
    reference.set_machine_id(Wire::ToBytes(GetMachineData().id));
    reference.set_representation(static_cast<pb::MachineRepresentation>(GetMachineData().representation));
    return reference;
}

std::future<std::vector<CommandDescription>> RemoteStrategy::GetCommands() const
{
    return Ready([this] {
        std::vector<CommandDescription> descriptions;
        for (const auto machine = _Get(); const StoredCommand& command : machine->commands) {
            descriptions.push_back(command.description);
            if (!command.iconHash.empty())
                descriptions.back().icon = _service->icons.Find(command.iconHash).GetBytes();
        }
        return descriptions;
    });
}

std::future<bool> RemoteStrategy::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    // One future leads to the other, without anybody who waits in between.
    const auto promise = std::make_shared<std::promise<bool>>();
    auto future = promise->get_future();
    AskCanRun(
        _service, _GetReference(), i_command_id,
        [promise](const CanRunAnswer& i_answer) { promise->set_value(i_answer.canRun); },
        [promise](const std::exception_ptr& ip_failure) { promise->set_exception(ip_failure); });
    return future;
}

std::future<CanRunAnswer> RemoteStrategy::ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    const auto promise = std::make_shared<std::promise<CanRunAnswer>>();
    auto future = promise->get_future();
    AskCanRun(
        _service, _GetReference(), i_command_id,
        [promise](const CanRunAnswer& i_answer) { promise->set_value(i_answer); },
        [promise](const std::exception_ptr& ip_failure) { promise->set_exception(ip_failure); });
    return future;
}

std::future<CommandResult> RemoteStrategy::_Run(pb::RunKind i_kind, const CommandParameters& i_parameters) const
{
    return ReadyIfRefused([&] {
        const auto machine = _Get();
        RunSubject subject = {_GetReference(), i_kind, DataFormat::Undefined, {}};
        for (const StoredCommand& command : machine->commands) {
            if (i_kind != pb::RUN_KIND_COMMAND || command.description.id != i_parameters.commandId)
                continue;
            subject.dataFormat = command.description.dataFormat;
            if (command.description.type == CommandType::Build)
                subject.machineFolder = GetMachineFolderName(machine->data.name, machine->data.id);
        }
        // Fails at once, and not on another thread, while the service is lost.
        _service->GetConnection();
        return _service->workers.Submit([service = _service, subject, parameters = i_parameters] {
            return RunGuarded([&] { return RunCall(service, subject, parameters).Execute(); });
        });
    });
}

std::future<CommandResult> RemoteStrategy::RunCommand(const CommandParameters& i_parameters) const
{
    return _Run(pb::RUN_KIND_COMMAND, i_parameters);
}

std::future<CommandResult> RemoteStrategy::FillReportProperties(const CommandParameters& i_parameters) const
{
    return _Run(pb::RUN_KIND_REPORT_PROPERTIES, i_parameters);
}

std::future<CommandResult> RemoteStrategy::Preprocessing(const CommandParameters& i_parameters) const
{
    return _Run(pb::RUN_KIND_PREPROCESSING, i_parameters);
}

ProgressWatcherFuture<PlatformInfo> RemoteStrategy::GetPlatformInformation() const
{
    const auto watcher = std::make_shared<ProgressWatcher>();
    return ProgressWatcherFuture(ReadyIfRefused([&] {
                                     _Get();
                                     return _service->workers.Submit(
                                         [service = _service, reference = _GetReference(), watcher] {
                                             return AskPlatformInformation(*service, reference, *watcher);
                                         });
                                 }),
                                 watcher);
}

std::future<std::pair<CommandResult, Platform>> RemoteStrategy::GetEmptyPlatform(const std::string& i_parameters) const
{
    return ReadyIfRefused([&] {
        _Get();
        return _service->workers.Submit([service = _service, reference = _GetReference(), parameters = i_parameters] {
            return AskEmptyPlatform(*service, reference, parameters);
        });
    });
}

ProgressWatcherFuture<void> RemoteStrategy::ModifyPlatform(const Platform& i_platform) const
{
    const auto watcher = std::make_shared<ProgressWatcher>();
    return ProgressWatcherFuture(ReadyIfRefused([&] {
                                     const auto name = _Get()->data.name;
                                     return _service->workers.Submit(
                                         [service = _service, reference = _GetReference(), platform = i_platform, name,
                                          watcher] { SendPlatform(*service, reference, platform, name, *watcher); });
                                 }),
                                 watcher);
}

std::future<ProfileAssignments> RemoteStrategy::GetProfileAssignments() const
{
    return ReadyIfRefused([&] {
        _Get();
        return _service->workers.Submit(
            [service = _service, reference = _GetReference()] { return AskProfileAssignments(*service, reference); });
    });
}

} // namespace MachineService::Remote
