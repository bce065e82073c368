#include "buildprocessor/platform/SlicedPlatform.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/engine/EngineModel.h"
#include "buildprocessor/engine/EngineSettings.h"
#include "buildprocessor/engine/SettingsCheck.h"
#include "buildprocessor/engine/SlicingEngine.h"
#include "buildprocessor/geometry/BuildVolumeCheck.h"
#include "buildprocessor/geometry/CollisionCheck.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/platform/EstimateProperties.h"
#include "buildprocessor/platform/PartStrategies.h"
#include "buildprocessor/platform/PlatformRules.h"
#include "buildprocessor/verify/GCodeCheck.h"
#include "buildprocessor/verify/PartMeshes.h"
#include "buildprocessor/verify/ResinCheck.h"
#include "contract/Failure.h"
#include "hashing/Sha256.h"
#include "tavsdk/Utf8.h"

#include <future>

namespace MachineService::BuildProcessor {

namespace {

// How far the job is when the engine begins and when it ends.
constexpr int EngineBegin = 10;
constexpr int EngineEnd = 88;

/// The parts with what their strategies tell the engine.
std::vector<PartGeometry> PrepareParts(JobSettings& io_settings, TavAM::Platform& io_platform,
                                       const std::stop_token& i_stop)
{
    const auto mended = MendParts(io_platform, i_stop);
    io_settings.notes.insert(io_settings.notes.end(), mended.begin(), mended.end());
    auto parts = GetGeometries(io_platform, i_stop);
    const auto& known = io_settings.profile.strategies;
    const auto report = AssignStrategies(io_platform, known);
    io_settings.notes.insert(io_settings.notes.end(), report.replaced.begin(), report.replaced.end());
    for (std::size_t index = 0; index < parts.size(); ++index)
        parts[index].settings = GetEngineSettings(io_platform.GetParts()[index], known);
    return parts;
}

/// A hash of all that machine file, estimates and checks depend on.
std::string MakeKey(const std::string& i_engine, const JobSettings& i_settings,
                    const std::vector<PartGeometry>& i_parts, const std::stop_token& i_stop)
{
    Sha256 hash;
    // The second goes up with each change of this service after which its checks or estimates are others.
    hash.AddText("machine file " BUILDPROCESSOR_VERSION " 3");
    hash.AddText(GetEngineStamp(i_engine));
    hash.AddText(ToText(MakeEngineConfiguration(i_settings.profile)));
    hash.AddValue(i_settings.profile.bed.shape);
    hash.AddValue(i_settings.profile.bed.diameter);
    hash.AddValue(i_settings.rules.zones.size());
    for (const NoBuildZone& zone : i_settings.rules.zones) {
        hash.AddText(TavSDK::ToUtf8(zone.name));
        for (const double side : {zone.minX, zone.minY, zone.minZ, zone.maxX, zone.maxY, zone.maxZ})
            hash.AddValue(side);
    }
    for (const PartGeometry& part : i_parts) {
        ThrowIfStopped(i_stop);
        hash.AddText(part.name);
        hash.AddValue(part.settings.size());
        for (const auto& [name, value] : part.settings) {
            hash.AddText(name);
            hash.AddText(value);
        }
        hash.AddText(
            {reinterpret_cast<const char*>(part.vertices.data()), part.vertices.size() * sizeof part.vertices.front()});
        hash.AddText({reinterpret_cast<const char*>(part.triangles.data()),
                      part.triangles.size() * sizeof part.triangles.front()});
    }
    return hash.GetHex();
}

void CheckProfile(const JobInput& i_input)
{
    const auto fault = FindSettingsFault(i_input.profile, i_input.enginePath, i_input.cache, i_input.stop);
    if (fault)
        Fail(ErrorCode::InternalError, "The profile of the printer '" + i_input.profile.name +
                                           "' cannot be used: field " + fault->field + ' ' + fault->reason + '.');
}

/// Checks and slices what no kept result tells of.
SlicingResult Slice(const JobInput& i_input, const JobSettings& i_settings, const std::vector<PartGeometry>& i_parts,
                    const SlicedPlatform& i_sliced, JobProgress& io_progress)
{
    const MachineProfile& profile = i_settings.profile;
    CheckBuildVolume(profile, i_parts);
    CheckNoBuildZones(i_parts, i_settings.rules.zones, i_input.stop);
    CheckCollisions(i_parts, i_input.stop);
    // Mostly remembered; else asked while the engine works. What it finds says more than the failure that follows from
    // it.
    auto profileCheck = std::async(std::launch::async, [&] { CheckProfile(i_input); });
    const bool isResin = profile.technology == Technology::Sla;
    SectionsAhead sections = isResin ? ExpectResin(profile, i_parts) : ExpectGCode(profile, i_parts);

    io_progress.Report(6, "Preparing the slicing engine");
    const auto model = i_sliced.workDir.GetAbsoluteFileNameInTempDir("platform.3mf");
    WriteEngineModel(i_parts, model, i_input.stop);
    io_progress.Report(EngineBegin, "Slicing");
    try {
        RunEngine({profile, i_input.enginePath, i_sliced.workDir.GetAbsoluteDir(), i_parts, model, i_sliced.machineFile,
                   [&](int i_percent, const std::string& i_stage) {
                       io_progress.Report(EngineBegin + i_percent * (EngineEnd - EngineBegin) / 100, i_stage);
                   }},
                  i_input.stop);
    } catch (const CommunicationException&) {
        profileCheck.get();
        throw;
    }
    profileCheck.get();

    io_progress.Report(EngineEnd, "Checking the machine file");
    return isResin ? CheckResin(i_sliced.machineFile, profile, i_parts, sections, i_input.stop)
                   : CheckGCode(i_sliced.machineFile, profile, i_parts, sections, i_input.stop);
}

/// Empty when nothing was kept, or not the file that is wanted.
std::optional<SlicingResult> FindKept(const JobInput& i_input, SlicingAim i_aim, const std::string& i_key,
                                      const SlicedPlatform& i_sliced)
{
    const auto text = i_input.cache.FindText(i_key);
    auto result = text ? ReadSlicingResult(*text) : std::nullopt;
    if (!result || i_aim == SlicingAim::Estimates || i_input.cache.CopyFile(i_key, i_sliced.machineFile, i_input.stop))
        return result;
    return std::nullopt;
}

} // namespace

std::unique_ptr<SlicedPlatform> SlicePlatform(const JobInput& i_input, SlicingAim i_aim, JobSettings& io_settings,
                                              TavAM::Platform& io_platform, JobProgress& io_progress)
{
    auto sliced = std::make_unique<SlicedPlatform>();
    const bool isResin = io_settings.profile.technology == Technology::Sla;
    sliced->machineFile = sliced->workDir.GetAbsoluteFileNameInTempDir(isResin ? "job.sl1" : "job.gcode");
    StoreJobSettings(io_settings, io_platform);
    const auto parts = PrepareParts(io_settings, io_platform, i_input.stop);
    io_progress.Report(3, "Checking the parts");
    const auto key = MakeKey(FindEngine(i_input.enginePath), io_settings, parts, i_input.stop);
    auto result = FindKept(i_input, i_aim, key, *sliced);
    if (!result) {
        result = Slice(i_input, io_settings, parts, *sliced, io_progress);
        i_input.cache.Keep(key, ToText(*result), sliced->machineFile, i_input.stop);
    }
    io_settings.notes.insert(io_settings.notes.end(), result->notes.begin(), result->notes.end());
    sliced->estimates = std::move(result->estimates);
    StoreEstimates(sliced->estimates, io_settings.profile.GetDefaultMaterial(), io_platform);
    io_progress.Report(90, "Checking the machine file");
    return sliced;
}

} // namespace MachineService::BuildProcessor
