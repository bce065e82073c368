#include "buildprocessor/commands/ReportCommands.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/commands/BuildReport.h"
#include "buildprocessor/commands/PlatformCommand.h"
#include "buildprocessor/platform/PropertyNames.h"
#include "contract/JobFolder.h"
#include "contract/PrivateFile.h"
#include "tavam/PropertyNames.h"

#include <QString>

namespace MachineService::BuildProcessor {

namespace Names = TavAM::PropertyNames::Print3D;

CommandResult MakeReportDocument(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the scene");
    const HostScene scene = ReadHostScene(i_input.parameters.inputFile);
    const MachineProfile profile = SettleJobSettings(i_input.profile, i_input.settingsDir, scene.platform).profile;
    progress.Report(30, "Writing the report");
    const std::string report = MakeBuildReport(
        {scene, profile, profile.GetDefaultMaterial(), profile.layerHeights.front(), std::chrono::system_clock::now()});
    const auto job = scene.platform.GetAMXProperties().GetText(Names::JobName);
    const std::wstring name = job && !job->empty() ? *job : scene.platform.GetName();
    const std::string fileName =
        ToFileName("Build report " + QString::fromStdWString(name).left(60).toStdString()) + ".html";
    // Whoever cancelled may have taken the folder away already.
    ThrowIfStopped(i_input.stop);
    WritePrivateFile(i_input.parameters.outputDir / fileName, report);
    CommandResult result;
    result.dataFormat = DataFormat::Document;
    result.message = "The report was made.";
    progress.Finish();
    return result;
}

CommandResult FillReport(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    const TavAM::Platform& platform = command.GetPlatform();
    JobSettings settings = command.Settle();
    if (platform.GetParts().empty()) {
        StoreJobSettings(settings, command.GetPlatform());
    } else {
        command.Slice(settings);
        command.AddNotes(settings.notes);
    }
    const MachineProfile& profile = settings.profile;
    double volume = 0;
    for (const TavAM::Part& part : platform.GetParts()) {
        part.GetRepresentation().ForEachMesh(part.GetPlacement(), [&](const auto& i_mesh, const auto& i_placement) {
            volume += std::abs(TavAM::GetVolume(i_mesh, i_placement)) / 1000;
        });
    }
    command.Set(PropertyName::Printer, profile.name);
    command.Set(PropertyName::Manufacturer, profile.manufacturer);
    command.Set(PropertyName::QueueState, GetStateName(profile.queueState));
    command.Set(PropertyName::PartCount, std::to_string(platform.GetParts().size()));
    command.Set(PropertyName::PartVolume, QString::number(volume, 'f', 3).toStdString());
    return command.Finish(DataFormat::Platform, "The report's properties were filled.");
}

} // namespace MachineService::BuildProcessor
