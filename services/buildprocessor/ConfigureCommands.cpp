#include "buildprocessor/BuildJob.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/JobFolder.h"
#include "buildprocessor/MachineCommands.h"
#include "buildprocessor/PartStrategies.h"
#include "buildprocessor/PlatformCommand.h"
#include "buildprocessor/PrivateFile.h"
#include "buildprocessor/SlicingEngine.h"

namespace MachineService::BuildProcessor {

CommandResult ConfigurePrinter(const JobInput& i_input)
{
    const MachineProfile& profile = i_input.profile;
    PlatformCommand command(i_input);
    const MachineSettings settings = command.ReadSettings();
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
                                                      ToNumberText(settings.layerHeight) + " mm, material '" +
                                                      settings.material + "'. The settings are in '" + path + "'.");
}

CommandResult ConfigureConnection(const JobInput& i_input)
{
    const MachineProfile& profile = i_input.profile;
    PlatformCommand command(i_input);
    command.Report(10, "Testing the connection");
    const auto folder = std::filesystem::absolute(i_input.jobsDir / ToFileName(GetMachineFolderName(profile)));
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
    const MachineSettings settings = command.ReadSettings();
    const MachineProfile profile =
        ApplyPlatformSettings(i_input.profile, settings, command.GetPlatform(), command.GetNotes());
    StorePlatformSettings(profile, command.GetPlatform());
    return command.Finish(DataFormat::Properties, "The platform is built with layers of " +
                                                      ToNumberText(profile.layerHeights.front()) + " mm in '" +
                                                      profile.GetDefaultMaterial().name + "'.");
}

CommandResult ConfigureParts(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    return command.Finish(DataFormat::Strategies,
                          AssignStrategies(command.GetPlatform(), i_input.profile.strategies).message);
}

} // namespace MachineService::BuildProcessor
