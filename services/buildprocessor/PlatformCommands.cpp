#include "buildprocessor/AutomaticPlacement.h"
#include "buildprocessor/BuildReport.h"
#include "buildprocessor/BuildVolumeCheck.h"
#include "buildprocessor/CollisionCheck.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/JobFolder.h"
#include "buildprocessor/MachineCommands.h"
#include "buildprocessor/PlacementCheck.h"
#include "buildprocessor/PlatformCommand.h"
#include "buildprocessor/PlatformRules.h"
#include "buildprocessor/PrivateFile.h"
#include "tavam/PropertyNames.h"

#include <QDateTime>
#include <QString>

namespace MachineService::BuildProcessor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

constexpr std::size_t MaxLines = 12; ///< of faults that one message box shows

std::vector<std::string> FindFaults(const JobInput& i_input, const TavAM::Platform& i_platform,
                                    const std::vector<NoBuildZone>& i_zones)
{
    std::vector<std::string> faults;
    PlacementRules rules;
    rules.clearance = -1;
    rules.onBed = !i_input.profile.MakesSupports();
    rules.tolerance = VolumeTolerance;
    for (const PlacementFault& fault :
         FindPlacementFaults(i_platform, i_input.profile.bed, i_input.profile.height, rules, i_input.stop))
        faults.push_back(fault.message);
    const auto collect = [&](const auto& i_check) {
        try {
            i_check();
        } catch (const CommunicationException& failure) {
            if (failure.code() == ErrorCode::ProcessingAborted)
                throw;
            faults.emplace_back(failure.what());
        }
    };
    collect([&] {
        const auto parts = GetGeometries(i_platform);
        collect([&] { CheckCollisions(parts, i_input.stop); });
        collect([&] { CheckNoBuildZones(parts, i_zones, i_input.stop); });
    });
    return faults;
}

std::string DescribeClearances(const PlatformRules& i_rules)
{
    const std::string text = "a clearance of " + ToNumberText(i_rules.partToPart) + " mm";
    return i_rules.partToWall == i_rules.partToPart
               ? text
               : text + ", " + ToNumberText(i_rules.partToWall) + " mm to the edge of the bed";
}

} // namespace

CommandResult EstimateConsumption(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    const auto sliced = command.Slice();
    const Figures& figures = sliced->figures;
    return command.Finish(DataFormat::Properties, "The platform takes " + FormatDuration(figures.seconds) + " and " +
                                                      QString::number(figures.cubicCentimetres, 'f', 2).toStdString() +
                                                      " cm³ (" + QString::number(figures.grams, 'f', 2).toStdString() +
                                                      " g) of '" + sliced->profile.GetDefaultMaterial().name + "'.");
}

CommandResult PlaceAutomatically(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    TavAM::Platform& platform = command.GetPlatform();
    const PlatformRules rules = GetPlatformRules(platform, i_input.profile, command.ReadSettings());
    // What the settings say beside the clearance has no part in this.
    command.GetNotes().clear();
    PlacementOptions options;
    options.partToPart = rules.partToPart;
    options.partToWall = rules.partToWall;
    options.turns = rules.turns;
    options.turnStep = rules.turnStep;
    options.zones = rules.zones;
    options.stop = i_input.stop;
    options.onProgress = [&](int i_percent) {
        command.Report(5 + i_percent * 9 / 10, "Placing the parts");
    };
    const PlacementResult placed = PlaceParts(platform, i_input.profile.bed, i_input.profile.height, options);
    if (!placed.unplaced.empty())
        Fail(ErrorCode::FileError, "These parts do not fit on the bed of the printer with " +
                                       DescribeClearances(rules) +
                                       ", and nothing was moved: " + JoinNames(placed.unplaced) + '.');
    std::string message = std::to_string(platform.GetParts().size() - placed.withoutMesh.size()) +
                          " parts were placed with " + DescribeClearances(rules) + '.';
    if (!placed.withoutMesh.empty())
        message += " These have no mesh and stay where they are: " + JoinNames(placed.withoutMesh) + '.';
    return command.Finish(DataFormat::Placement, std::move(message));
}

CommandResult CheckPlatform(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    const PlatformRules rules = GetPlatformRules(command.GetPlatform(), i_input.profile, {});
    command.Report(10, "Checking the parts");
    const auto faults = FindFaults(i_input, command.GetPlatform(), rules.zones);
    if (!faults.empty()) {
        std::string text = "The platform cannot be built:";
        for (std::size_t index = 0; index < std::min(faults.size(), MaxLines); ++index)
            text += '\n' + faults[index];
        if (faults.size() > MaxLines)
            text += "\nand " + std::to_string(faults.size() - MaxLines) + " more.";
        Fail(ErrorCode::FileError, text);
    }
    command.Set(PropertyName::Check, "passed");
    command.Set(PropertyName::CheckTime, QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString());
    return command.Finish(DataFormat::Properties, "All " + std::to_string(command.GetPlatform().GetParts().size()) +
                                                      " parts lie inside the build volume, and none collide.");
}

CommandResult MakeReportDocument(const JobInput& i_input)
{
    JobProgress progress(i_input);
    progress.Report(0, "Reading the scene");
    const HostScene scene = ReadHostScene(i_input.parameters.inputFile);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, i_input.profile, notes);
    const MachineProfile profile = ApplyPlatformSettings(i_input.profile, settings, scene.platform, notes);
    progress.Report(30, "Writing the report");
    const std::string report = MakeBuildReport(
        {scene, profile, profile.GetDefaultMaterial(), profile.layerHeights.front(), std::chrono::system_clock::now()});
    const auto job = scene.platform.GetAMXProperties().GetText(Names::JobName);
    const std::wstring name = job && !job->empty() ? *job : scene.platform.GetName();
    const std::string fileName =
        ToFileName("Build report " + QString::fromStdWString(name).left(60).toStdString()) + ".html";
    // Whoever cancelled may have taken the folder away already.
    if (i_input.stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
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
    MachineProfile profile = i_input.profile;
    if (platform.GetParts().empty()) {
        profile = ApplyPlatformSettings(profile, command.ReadSettings(), platform, command.GetNotes());
        StorePlatformSettings(profile, command.GetPlatform());
        command.GetNotes().clear();
    } else {
        profile = command.Slice()->profile;
    }
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
