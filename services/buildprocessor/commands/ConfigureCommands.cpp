#include "buildprocessor/commands/ConfigureCommands.h"

#include "buildprocessor/commands/BuildJob.h"
#include "buildprocessor/commands/PlatformCommand.h"
#include "buildprocessor/engine/SlicingEngine.h"
#include "buildprocessor/platform/PartStrategies.h"
#include "buildprocessor/platform/PropertyNames.h"
#include "contract/Failure.h"
#include "contract/JobFolder.h"
#include "contract/PrivateFile.h"
#include "tavsdk/Text.h"

namespace MachineService::BuildProcessor {

CommandResult ConfigurePrinter(const JobInput& i_input)
{
    const MachineProfile& profile = i_input.profile;
    PlatformCommand command(i_input);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, profile, notes);
    command.AddNotes(notes);
    command.Report(20, "Asking the slicing engine");
    const std::string version = GetEngineVersion(i_input.enginePath, i_input.stop);
    command.Report(80, "Writing the settings");
    WriteMachineSettings(i_input.settingsDir, profile, settings);

    const auto path = std::filesystem::absolute(GetSettingsPath(i_input.settingsDir, profile)).string();
    const std::string state = GetStateName(profile.queueState);
    command.Set(PropertyName::Printer, profile.name);
    command.Set(PropertyName::QueueState, state);
    command.Set(PropertyName::Engine, version);
    command.Set(PropertyName::SettingsFile, path);
    return command.Finish(DataFormat::Properties, "The queue of '" + profile.name + "' is " + state +
                                                      ", slicing engine " + version + ", layer height " +
                                                      TavSDK::NumberToText(settings.layerHeight) + " mm, material '" +
                                                      settings.material + "'. The settings are in '" + path + "'.");
}

CommandResult ConfigureConnection(const JobInput& i_input)
{
    const MachineProfile& profile = i_input.profile;
    PlatformCommand command(i_input);
    command.Report(10, "Testing the connection");
    const auto folder =
        std::filesystem::absolute(i_input.jobsDir / ToFileName(GetMachineFolderName(profile.name, profile.id)));
    const std::string text = "A test of the connection; it may be removed.\n";
    const auto test = folder / ".connection-test";
    MakePrivateFolder(folder);
    WritePrivateFile(test, text);
    const bool isSame = ReadBoundedFile(test, text.size()) == text;
    std::error_code error;
    std::filesystem::remove(test, error);
    if (!isSame || error)
        Fail(ErrorCode::FileError, "The folder of jobs '" + folder.string() + "' does not keep what is written to it.");

    const std::string state = GetStateName(profile.queueState);
    command.Set(PropertyName::Printer, profile.name);
    command.Set(PropertyName::QueueState, state);
    command.Set(PropertyName::Connection, "tested");
    command.Set(PropertyName::JobFolder, folder.string());
    return command.Finish(DataFormat::Properties, "The connection to '" + profile.name + "' works; jobs go to '" +
                                                      folder.string() + "'. The queue is " + state + '.');
}

CommandResult ConfigurePlatform(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    const JobSettings settings = command.Settle();
    const MachineProfile& profile = settings.profile;
    StoreJobSettings(settings, command.GetPlatform());
    command.AddNotes(settings.notes);
    return command.Finish(DataFormat::Properties, "The platform is built with layers of " +
                                                      TavSDK::NumberToText(profile.layerHeights.front()) + " mm in '" +
                                                      profile.GetDefaultMaterial().name + "'.");
}

CommandResult ConfigureParts(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    return command.Finish(DataFormat::Strategies,
                          AssignStrategies(command.GetPlatform(), i_input.profile.strategies).message);
}

} // namespace MachineService::BuildProcessor
