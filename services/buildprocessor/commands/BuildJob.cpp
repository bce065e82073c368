#include "buildprocessor/commands/BuildJob.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/platform/PlatformFiles.h"
#include "buildprocessor/platform/SlicedPlatform.h"
#include "contract/JobFolder.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Path.h"
#include "tavsdk/Utf8.h"

namespace MachineService::BuildProcessor {

namespace Names = TavAM::PropertyNames::Print3D;

CommandResult RunBuild(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    const auto platform = ReadPlatform(i_input.parameters, i_input.stop);
    JobSettings settings = SettleJobSettings(i_input.profile, i_input.settingsDir, *platform);
    const auto sliced = SlicePlatform(i_input, SlicingAim::MachineFile, settings, *platform, progress);
    const bool isResin = i_input.profile.technology == Technology::Sla;
    progress.Report(92, "Keeping the machine file");
    JobFolder job(i_input.jobsDir, GetMachineFolderName(i_input.profile.name, i_input.profile.id),
                  i_input.parameters.jobName);
    const auto machineFile = job.AddFile(sliced->machineFile, isResin ? ".sl1" : ".gcode", i_input.stop);

    auto& properties = platform->GetAMXProperties();
    properties.SetText(Names::MachineFile, TavSDK::PathToWide(std::filesystem::absolute(machineFile)));
    // Hosts elsewhere find the file here, and say where they keep it.
    LeaveMachineFile(machineFile, i_input.parameters.outputDir, i_input.stop);
    properties.SetText(Names::JobName, TavSDK::ToWide(i_input.parameters.jobName));
    progress.Report(98, "Writing the platform");
    auto result = WriteResult(i_input.parameters, *platform, DataFormat::Platform,
                              "The machine file is '" + machineFile.string() + "'.", settings.notes);
    // A client that cancelled never learns where the job is.
    ThrowIfStopped(i_input.stop);
    job.Keep();
    progress.Finish();
    return result;
}

} // namespace MachineService::BuildProcessor
