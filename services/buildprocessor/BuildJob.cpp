#include "buildprocessor/BuildJob.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/JobFolder.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Utf8.h"

#include <QString>

#include <boost/uuid/uuid_io.hpp>

namespace MachineService::BuildProcessor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

CommandResult Build(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the platform");
    const auto platform = ReadPlatform(i_input.parameters);
    const auto sliced = SlicePlatform(i_input, platform, progress);
    const bool isResin = i_input.profile.technology == Technology::Sla;
    progress.Report(92, "Keeping the machine file");
    JobFolder job(i_input.jobsDir, GetMachineFolderName(i_input.profile), i_input.parameters.jobName);
    const auto machineFile = job.AddFile(sliced->machineFile, isResin ? ".sl1" : ".gcode", i_input.stop);

    auto& properties = platform->GetAMXProperties();
    properties.SetText(Names::MachineFile,
                       QString::fromStdString(std::filesystem::absolute(machineFile).string()).toStdWString());
    properties.SetText(Names::JobName, QString::fromStdString(i_input.parameters.jobName).toStdWString());
    progress.Report(98, "Writing the platform");
    auto result = WriteResult(i_input, *platform, DataFormat::Platform,
                              AddLines("The machine file is '" + machineFile.string() + "'.", sliced->notes));
    // A client that cancelled never learns where the job is.
    if (i_input.stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    job.Keep();
    progress.Finish();
    return result;
}

} // namespace

std::string GetMachineFolderName(const MachineProfile& i_profile)
{
    constexpr std::size_t longest = 60;
    const std::string id = boost::uuids::to_string(i_profile.id);
    return std::string(TavSDK::CutUtf8(i_profile.name, longest)) + " - " + id.substr(id.size() - 8);
}

CommandResult RunBuild(const JobInput& i_input)
{
    return RunGuarded([&] { return Build(i_input); });
}

} // namespace MachineService::BuildProcessor
