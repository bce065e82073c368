#include "buildprocessor/BuildJob.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/JobFolder.h"
#include "buildprocessor/MachineCommands.h"
#include "buildprocessor/MachineSettings.h"
#include "buildprocessor/PartStrategies.h"
#include "buildprocessor/PrivateFile.h"
#include "buildprocessor/SlicingEngine.h"

#include <QString>

namespace MachineService::BuildProcessor {

namespace {

void Set(TavAM::Platform& io_platform, const wchar_t* ip_name, const std::string& i_text)
{
    io_platform.GetAMXProperties().SetText(ip_name, QString::fromStdString(i_text).toStdWString());
}

std::string JoinLines(const std::string& i_first, const std::vector<std::string>& i_rest)
{
    std::string text = i_first;
    for (const std::string& line : i_rest)
        text += '\n' + line;
    return text;
}

} // namespace

CommandResult ConfigurePrinter(const JobInput& i_input)
{
    const MachineProfile& profile = i_input.profile;
    JobProgress progress(i_input);
    progress.Report(0, "Reading the settings");
    const auto platform = ReadPlatform(i_input.parameters);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, profile, notes);
    progress.Report(20, "Asking the slicing engine");
    const std::string version = GetEngineVersion(i_input.enginePath, i_input.stop);
    progress.Report(80, "Writing the settings");
    WriteMachineSettings(i_input.settingsDir, profile, settings);

    const auto path = std::filesystem::absolute(GetSettingsPath(i_input.settingsDir, profile)).string();
    const std::string state = GetStateName(profile.queueState);
    Set(*platform, PropertyName::Printer, profile.name);
    Set(*platform, PropertyName::QueueState, state);
    Set(*platform, PropertyName::Engine, version);
    Set(*platform, PropertyName::SettingsFile, path);
    auto result =
        WriteResult(i_input, *platform, DataFormat::Properties,
                    JoinLines("The queue of '" + profile.name + "' is " + state + ", slicing engine " + version +
                                  ", layer height " + ToNumberText(settings.layerHeight) + " mm, material '" +
                                  settings.material + "'. The settings are in '" + path + "'.",
                              notes));
    progress.Finish();
    return result;
}

CommandResult ConfigureConnection(const JobInput& i_input)
{
    const MachineProfile& profile = i_input.profile;
    JobProgress progress(i_input);
    progress.Report(0, "Testing the connection");
    const auto platform = ReadPlatform(i_input.parameters);
    const auto folder = std::filesystem::absolute(i_input.jobsDir / ToFileName(GetMachineFolderName(profile)));
    const std::string text = "A test of the connection; it may be removed.\n";
    const auto test = folder / ".connection-test";
    WritePrivateFile(test, text);
    const bool isSame = ReadBoundedFile(test, text.size()) == text;
    std::error_code error;
    std::filesystem::remove(test, error);
    if (!isSame || error)
        Fail(ErrorCode::FileError, "The folder of jobs '" + folder.string() + "' does not keep what is written to it.");

    const std::string state = GetStateName(profile.queueState);
    Set(*platform, PropertyName::Printer, profile.name);
    Set(*platform, PropertyName::QueueState, state);
    Set(*platform, PropertyName::Connection, "tested");
    Set(*platform, PropertyName::JobFolder, folder.string());
    auto result = WriteResult(i_input, *platform, DataFormat::Properties,
                              "The connection to '" + profile.name + "' works; jobs go to '" + folder.string() +
                                  "'. The queue is " + state + '.');
    progress.Finish();
    return result;
}

CommandResult ConfigurePlatform(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    const auto platform = ReadPlatform(i_input.parameters);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, i_input.profile, notes);
    const MachineProfile profile = ApplyPlatformSettings(i_input.profile, settings, *platform, notes);
    StorePlatformSettings(profile, *platform);
    auto result =
        WriteResult(i_input, *platform, DataFormat::Properties,
                    JoinLines("The platform is built with layers of " + ToNumberText(profile.layerHeights.front()) +
                                  " mm in '" + profile.GetDefaultMaterial().name + "'.",
                              notes));
    progress.Finish();
    return result;
}

CommandResult ConfigureParts(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    const auto platform = ReadPlatform(i_input.parameters);
    auto report = AssignStrategies(*platform, i_input.profile.strategies);
    auto result = WriteResult(i_input, *platform, DataFormat::Strategies, std::move(report.message));
    progress.Finish();
    return result;
}

} // namespace MachineService::BuildProcessor
