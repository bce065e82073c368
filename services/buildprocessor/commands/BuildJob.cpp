#include "buildprocessor/commands/BuildJob.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/JobFolder.h"
#include "buildprocessor/platform/PlatformFiles.h"
#include "buildprocessor/platform/SlicedPlatform.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Path.h"
#include "tavsdk/Utf8.h"

#include <boost/uuid/uuid_io.hpp>

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
    JobFolder job(i_input.jobsDir, GetMachineFolderName(i_input.profile), i_input.parameters.jobName);
    const auto machineFile = job.AddFile(sliced->machineFile, isResin ? ".sl1" : ".gcode", i_input.stop);

    auto& properties = platform->GetAMXProperties();
    properties.SetText(Names::MachineFile, TavSDK::PathToWide(std::filesystem::absolute(machineFile)));
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

std::string GetMachineFolderName(const MachineProfile& i_profile)
{
    constexpr std::size_t longest = 60;
    const std::string id = boost::uuids::to_string(i_profile.id);
    return std::string(TavSDK::CutUtf8(i_profile.name, longest)) + " - " + id.substr(id.size() - 8);
}

} // namespace MachineService::BuildProcessor
