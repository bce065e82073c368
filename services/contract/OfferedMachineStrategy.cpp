#include "contract/OfferedMachineStrategy_p.h"

#include "client/interface/ScopedTempDir.h"
#include "contract/Guard.h"
#include "contract/ReadyFuture.h"
#include "contract/RefuseMissing.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/Platform.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Utf8.h"

#include <algorithm>

namespace MachineService {

namespace {

constexpr std::uint64_t MaxPlatformBytes = 10'000'000; ///< one without parts is far below

PlatformDescription Describe(const OfferedMachine& i_machine)
{
    PlatformDescription description = i_machine.platform;
    if (description.name.empty())
        description.name = i_machine.data.name;
    if (description.comment.empty())
        description.comment = i_machine.data.comment;
    return description;
}

/// A platform without parts that keeps each chosen value, or the choice's default, under the id of the choice.
std::pair<CommandResult, Platform> MakeEmpty(const OfferedMachine& i_machine, const ChosenValues& i_values)
{
    TavAM::Platform platform;
    platform.SetName(TavSDK::ToWide(i_machine.data.name));
    for (const PlatformChoice& choice : i_machine.platform.choices) {
        const auto chosen = i_values.find(choice.id);
        const auto byDefault = std::find_if(choice.items.begin(), choice.items.end(),
                                            [](const PlatformChoice::Item& i_item) { return i_item.isDefault; });
        if (chosen != i_values.end())
            platform.GetAMXProperties().SetText(TavSDK::ToWide(choice.id), TavSDK::ToWide(chosen->second));
        else if (byDefault != choice.items.end())
            platform.GetAMXProperties().SetText(TavSDK::ToWide(choice.id), TavSDK::ToWide(byDefault->id));
    }
    const ScopedTempDir dir;
    const auto file = dir.GetAbsoluteFileNameInTempDir("platform.TavAMX");
    TavAM::AMXFileWriter().WriteFile(file, platform);
    std::pair<CommandResult, Platform> answer;
    answer.first.dataFormat = DataFormat::Platform;
    answer.second.kind = PlatformDataKind::Platform;
    answer.second.data = TavSDK::ReadFile(file, MaxPlatformBytes);
    return answer;
}

} // namespace

OfferedMachineStrategy::OfferedMachineStrategy(const MachineData& i_data, std::shared_ptr<OfferedMachines> ip_machines)
    : MachineStrategy(i_data)
    , _machines(std::move(ip_machines))
{}

OfferedMachineStrategy::MachinePointer OfferedMachineStrategy::_Get() const
{
    return _machines->registry.Get(GetMachineData().id);
}

template <class Choose>
std::future<CommandResult> OfferedMachineStrategy::_Run(const CommandParameters& i_parameters, const char* ip_what,
                                                        const Choose& i_choose) const
{
    return ReadyIfRefused([&] {
        const auto machine = _Get();
        const Run& run = i_choose(*machine);
        if (!run)
            RefuseMissing(machine->data.name, ip_what);
        // The function lives in the machine, which the job therefore keeps.
        return _machines->jobs.Submit(machine->data.id, i_parameters.stopToken,
                                      [machine, &run, parameters = i_parameters](std::stop_token i_stop) {
                                          return RunGuarded([&] { return run(CommandRun{parameters, i_stop}); });
                                      });
    });
}

std::future<std::vector<CommandDescription>> OfferedMachineStrategy::GetCommands() const
{
    return Ready([this] {
        std::vector<CommandDescription> descriptions;
        for (const OfferedCommand& command : _Get()->commands)
            descriptions.push_back(command.description);
        return descriptions;
    });
}

std::future<bool> OfferedMachineStrategy::CanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&] { return ExplainCanRunCommand(i_command_id).get().canRun; });
}

std::future<CanRunAnswer> OfferedMachineStrategy::ExplainCanRunCommand(const boost::uuids::uuid& i_command_id) const
{
    return Ready([&]() -> CanRunAnswer {
        for (const auto machine = _Get(); const OfferedCommand& command : machine->commands) {
            if (command.description.id != i_command_id)
                continue;
            if (command.run && (!command.canRun || command.canRun()))
                return {true, {}};
            return {false, command.whyNot ? command.whyNot() : std::string()};
        }
        return {};
    });
}

std::future<CommandResult> OfferedMachineStrategy::RunCommand(const CommandParameters& i_parameters) const
{
    return _Run(i_parameters, "this command", [&](const OfferedMachine& i_machine) -> const Run& {
        for (const OfferedCommand& command : i_machine.commands) {
            if (command.description.id == i_parameters.commandId)
                return command.run;
        }
        throw CommunicationException(ErrorCode::CommandNotFound);
    });
}

std::future<CommandResult> OfferedMachineStrategy::FillReportProperties(const CommandParameters& i_parameters) const
{
    return _Run(i_parameters, "properties for reports", [](const OfferedMachine& i_machine) -> const Run& {
        if (!i_machine.fillReportProperties)
            throw CommunicationException(ErrorCode::ReportNotSupported);
        return i_machine.fillReportProperties;
    });
}

std::future<CommandResult> OfferedMachineStrategy::Preprocessing(const CommandParameters& i_parameters) const
{
    return _Run(i_parameters, "preprocessing",
                [](const OfferedMachine& i_machine) -> const Run& { return i_machine.preprocess; });
}

ProgressWatcherFuture<PlatformInfo> OfferedMachineStrategy::GetPlatformInformation() const
{
    return ProgressWatcherFuture(Ready([this] {
        const auto machine = _Get();
        PlatformInfo info;
        info.xml = WritePlatformInformation(Describe(*machine));
        info.items.push_back({PlatformDataKind::Platform, {}});
        info.items.insert(info.items.end(), machine->platformData.begin(), machine->platformData.end());
        return info;
    }));
}

std::future<std::pair<CommandResult, Platform>>
OfferedMachineStrategy::GetEmptyPlatform(const std::string& i_parameters) const
{
    return ReadyIfRefused([&] {
        const auto machine = _Get();
        return _machines->questions.Submit(
            machine->data.id, {}, [machine, parameters = i_parameters](std::stop_token i_stop) {
                return RunGuarded([&] {
                    const auto values = ReadChosenValues(parameters, machine->data.name, machine->platform.choices);
                    return machine->makeEmptyPlatform ? machine->makeEmptyPlatform(values, i_stop)
                                                      : MakeEmpty(*machine, values);
                });
            });
    });
}

ProgressWatcherFuture<void> OfferedMachineStrategy::ModifyPlatform(const Platform& i_platform) const
{
    const auto watcher = std::make_shared<ProgressWatcher>();
    return ProgressWatcherFuture(ReadyIfRefused([&] {
                                     const auto machine = _Get();
                                     if (!machine->modifyPlatform)
                                         RefuseMissing(machine->data.name, "changes of a platform");
                                     return _machines->questions.Submit(
                                         machine->data.id, watcher->GetStopToken(),
                                         [machine, platform = i_platform](std::stop_token i_stop) {
                                             RunGuarded([&] { machine->modifyPlatform(platform, i_stop); });
                                         });
                                 }),
                                 watcher);
}

std::future<ProfileAssignments> OfferedMachineStrategy::GetProfileAssignments() const
{
    return Ready([this] { return _Get()->strategies; });
}

} // namespace MachineService
