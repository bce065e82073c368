#include "buildprocessor/commands/PlatformCommands.h"

#include "buildprocessor/base/NameList.h"
#include "buildprocessor/commands/BuildReport.h"
#include "buildprocessor/commands/PlatformCommand.h"
#include "buildprocessor/geometry/AutomaticPlacement.h"
#include "buildprocessor/geometry/BuildVolumeCheck.h"
#include "buildprocessor/geometry/CollisionCheck.h"
#include "buildprocessor/geometry/PlacementCheck.h"
#include "buildprocessor/platform/PropertyNames.h"
#include "buildprocessor/verify/PartMeshes.h"
#include "contract/Failure.h"
#include "tavsdk/Text.h"

#include <QDateTime>
#include <QString>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxLines = 12; ///< of faults that one message box shows

/// All that Build would refuse before it slices. \param io_platform gets what Build would mend.
std::vector<std::string> FindFaults(const JobInput& i_input, JobSettings& io_settings, TavAM::Platform& io_platform)
{
    std::vector<std::string> faults;
    const MachineProfile& profile = io_settings.profile;
    PlacementRules rules;
    rules.onBed = !profile.MakesSupports();
    rules.tolerance = VolumeTolerance;
    for (const PlacementFault& fault :
         FindPlacementFaults(io_platform, profile.bed, profile.height, rules, i_input.stop))
        if (fault.kind != PlacementFault::Kind::WithoutMesh)
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
    const bool isPlaced = faults.empty();
    collect([&] {
        const auto mended = MendParts(io_platform, i_input.stop);
        io_settings.notes.insert(io_settings.notes.end(), mended.begin(), mended.end());
    });
    collect([&] {
        const auto parts = GetGeometries(io_platform, i_input.stop);
        if (isPlaced)
            collect([&] { CheckBuildVolume(profile, parts); });
        collect([&] { CheckCollisions(parts, i_input.stop); });
        collect([&] { CheckNoBuildZones(parts, io_settings.rules.zones, i_input.stop); });
    });
    return faults;
}

std::string DescribeClearances(const Clearances& i_clearances)
{
    const auto& [partToPart, partToWall] = i_clearances;
    const std::string text = "a clearance of " + TavSDK::NumberToText(partToPart) + " mm";
    return partToWall == partToPart ? text
                                    : text + ", " + TavSDK::NumberToText(partToWall) + " mm to the edge of the bed";
}

} // namespace

CommandResult EstimateConsumption(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    JobSettings settings = command.Settle();
    const Estimates estimates = command.Slice(settings)->estimates;
    command.AddNotes(settings.notes);
    return command.Finish(DataFormat::Properties,
                          "The platform takes " + FormatDuration(estimates.seconds) + " and " +
                              QString::number(estimates.cubicCentimetres, 'f', 2).toStdString() + " cm³ (" +
                              QString::number(estimates.grams, 'f', 2).toStdString() + " g) of '" +
                              settings.profile.GetDefaultMaterial().name + "'.");
}

CommandResult PlaceAutomatically(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    TavAM::Platform& platform = command.GetPlatform();
    // What the settings say beside these has no part in this.
    const PlatformRules rules = command.Settle().rules;
    PlacementOptions options;
    options.clearances = rules.clearances;
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
                                       DescribeClearances(rules.clearances) +
                                       ", and nothing was moved: " + JoinNames(placed.unplaced) + '.');
    std::string message = std::to_string(platform.GetParts().size() - placed.withoutMesh.size()) +
                          " parts were placed with " + DescribeClearances(rules.clearances) + '.';
    if (!placed.withoutMesh.empty())
        message += " These have no mesh and stay where they are: " + JoinNames(placed.withoutMesh) + '.';
    return command.Finish(DataFormat::Placement, std::move(message));
}

CommandResult CheckPlatform(const JobInput& i_input)
{
    PlatformCommand command(i_input);
    JobSettings settings = command.Settle();
    command.Report(10, "Checking the parts");
    const auto faults = FindFaults(i_input, settings, command.GetPlatform());
    if (!faults.empty()) {
        std::string text = "The platform cannot be built:";
        for (std::size_t index = 0; index < std::min(faults.size(), MaxLines); ++index)
            text += '\n' + faults[index];
        if (faults.size() > MaxLines)
            text += "\nand " + std::to_string(faults.size() - MaxLines) + " more.";
        Fail(ErrorCode::FileError, text);
    }
    command.AddNotes(settings.notes);
    command.Set(PropertyName::Check, "passed");
    command.Set(PropertyName::CheckTime, QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toStdString());
    return command.Finish(DataFormat::Properties, "All " + std::to_string(command.GetPlatform().GetParts().size()) +
                                                      " parts lie inside the build volume, and none collide.");
}

} // namespace MachineService::BuildProcessor
