#include "buildprocessor/PlatformJob.h"

#include "buildprocessor/BuildVolumeCheck.h"
#include "buildprocessor/CollisionCheck.h"
#include "buildprocessor/EngineModel.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/MachineSettings.h"
#include "buildprocessor/PartStrategies.h"
#include "buildprocessor/PlatformRules.h"
#include "buildprocessor/SlicingEngine.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"
#include "tavam/PropertyNames.h"

#include <QString>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::BuildProcessor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

// How far the job is when the engine begins and when it ends.
constexpr int EngineBegin = 10;
constexpr int EngineEnd = 88;

std::shared_ptr<TavAM::Platform> ReadFile(const std::filesystem::path& i_file)
{
    TavAM::AMXFileReader reader;
    TavAM::Database database;
    if (!reader.ReadFile(i_file, database))
        Fail(ErrorCode::FileError, reader.GetError());
    if (database.GetNumPlatforms() != 1)
        Fail(ErrorCode::FileError, "The file '" + i_file.string() + "' holds " +
                                       std::to_string(database.GetNumPlatforms()) + " platforms; one is expected.");
    return database.GetPlatform(0);
}

PartGeometry GetGeometry(const TavAM::Part& i_part)
{
    PartGeometry geometry;
    geometry.name = QString::fromStdWString(i_part.GetName()).toStdString();
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const TavAM::Transform& i_placement) {
            const auto first = static_cast<std::uint32_t>(geometry.vertices.size());
            for (const TavAM::Point3f& point : i_mesh.vertices) {
                geometry.vertices.push_back(i_placement.Apply({point.x, point.y, point.z}));
                geometry.box.Add(geometry.vertices.back());
            }
            // A mirroring placement turns the surface inside out; the engine is to see it as it was.
            const auto& rows = i_placement.rows;
            const double determinant = rows[0] * (rows[5] * rows[10] - rows[6] * rows[9]) -
                                       rows[1] * (rows[4] * rows[10] - rows[6] * rows[8]) +
                                       rows[2] * (rows[4] * rows[9] - rows[5] * rows[8]);
            for (auto triangle : i_mesh.triangles) {
                if (determinant < 0)
                    std::swap(triangle[1], triangle[2]);
                for (auto& index : triangle)
                    index += first;
                geometry.triangles.push_back(triangle);
            }
        });
    return geometry;
}

void SetNumber(TavAM::PersistentProperties& io_properties, const wchar_t* ip_name, double i_value, int i_digits)
{
    io_properties.SetText(ip_name, QString::number(i_value, 'f', i_digits).toStdWString());
}

void SetFigures(TavAM::Platform& io_platform, const Figures& i_figures, const Material& i_material)
{
    const auto clear = [](TavAM::PersistentProperties& io_properties) {
        // Of an earlier build, perhaps on another machine.
        for (const wchar_t* name :
             {Names::LayerCount, Names::PrintTimeSeconds, Names::MaterialMillimetres, Names::MaterialCubicCentimetres,
              Names::MaterialGrams, Names::MachineFile, Names::JobName})
            io_properties.Remove(name);
    };
    auto& properties = io_platform.GetAMXProperties();
    clear(properties);
    SetNumber(properties, Names::LayerCount, static_cast<double>(i_figures.layers), 0);
    SetNumber(properties, Names::PrintTimeSeconds, i_figures.seconds, 0);
    if (i_figures.millimetres)
        SetNumber(properties, Names::MaterialMillimetres, *i_figures.millimetres, 2);
    SetNumber(properties, Names::MaterialCubicCentimetres, i_figures.cubicCentimetres, 3);
    SetNumber(properties, Names::MaterialGrams, i_figures.grams, 2);
    for (std::size_t index = 0; index < io_platform.GetParts().size(); ++index) {
        auto& ofPart = io_platform.GetParts()[index].GetAMXProperties();
        clear(ofPart);
        if (index >= i_figures.parts.size())
            continue;
        const PartFigures& part = i_figures.parts[index];
        const double volume = GetFilamentVolume(i_material, part.millimetres);
        SetNumber(ofPart, Names::LayerCount, static_cast<double>(part.layers), 0);
        SetNumber(ofPart, Names::MaterialMillimetres, part.millimetres, 2);
        SetNumber(ofPart, Names::MaterialCubicCentimetres, volume, 3);
        SetNumber(ofPart, Names::MaterialGrams, volume * i_material.density, 2);
    }
}

} // namespace

void JobProgress::Report(int i_percent, const std::string& i_stage)
{
    if (_input.stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    _percent = std::max(_percent, i_percent);
    if (_input.parameters.onProgress)
        _input.parameters.onProgress(_percent, i_stage);
}

void JobProgress::Finish() const
{
    if (_input.parameters.onProgress)
        _input.parameters.onProgress(100, "Done");
}

CommandResult RunGuarded(const std::function<CommandResult()>& i_job)
{
    try {
        return i_job();
    } catch (const CommunicationException&) {
        throw;
    } catch (const TavAM::FileError& failure) {
        Fail(ErrorCode::FileError, failure.what());
    } catch (const std::bad_alloc&) {
        Fail(ErrorCode::InternalError, "There is not enough memory for the platform.");
    } catch (const std::exception& failure) {
        Fail(ErrorCode::InternalError, std::string("The job failed: ") + failure.what());
    }
}

std::shared_ptr<TavAM::Platform> ReadPlatform(const CommandParameters& i_parameters)
{
    auto platform = ReadFile(i_parameters.inputFile);
    for (const PartParameters& told : i_parameters.parts) {
        const auto part =
            std::find_if(platform->GetParts().begin(), platform->GetParts().end(), [&](const auto& i_part) {
                return boost::uuids::to_string(i_part.GetRevisionId()) == told.globalId;
            });
        if (part == platform->GetParts().end())
            continue;
        part->SetHasSupports(told.hasSupports);
        auto strategies = part->GetStrategies().value_or(TavAM::Part::Strategies());
        for (const auto& [role, id] : told.strategies)
            strategies[QString::fromStdString(role).toStdWString()] = QString::fromStdString(id).toStdWString();
        if (!strategies.empty())
            part->SetStrategies(std::move(strategies));
    }
    return platform;
}

std::vector<PartGeometry> GetGeometries(const TavAM::Platform& i_platform)
{
    std::vector<PartGeometry> geometries;
    std::vector<std::string> withoutMesh;
    for (const TavAM::Part& part : i_platform.GetParts()) {
        geometries.push_back(GetGeometry(part));
        const auto& representation = part.GetRepresentation();
        if (geometries.back().triangles.empty() || representation.Holds(TavAM::RepresentationKind::Implicit) ||
            representation.Holds(TavAM::RepresentationKind::Brep))
            withoutMesh.push_back(geometries.back().name);
    }
    if (geometries.empty())
        Fail(ErrorCode::FileError, "There is no part on the platform.");
    if (!withoutMesh.empty())
        Fail(ErrorCode::FileError,
             "These parts are not meshes, or not altogether, and cannot be built: " + JoinNames(withoutMesh) + '.');
    return geometries;
}

CommandResult WriteResult(const JobInput& i_input, const TavAM::Platform& i_platform, DataFormat i_format,
                          std::string i_message)
{
    TavAM::AMXFileWriter().WriteFile(i_input.parameters.outputDir / "platform.TavAMX", i_platform);
    CommandResult result;
    result.dataFormat = i_format;
    result.message = std::move(i_message);
    return result;
}

std::string AddLines(std::string i_text, const std::vector<std::string>& i_lines)
{
    for (const std::string& line : i_lines)
        i_text += '\n' + line;
    return i_text;
}

std::unique_ptr<SlicedPlatform>
SlicePlatform(const JobInput& i_input, const std::shared_ptr<TavAM::Platform>& ip_platform, JobProgress& io_progress)
{
    auto sliced = std::make_unique<SlicedPlatform>();
    TavAM::Platform& platform = *ip_platform;
    auto parts = GetGeometries(platform);

    auto& notes = sliced->notes;
    const MachineSettings settings = ReadMachineSettings(i_input.settingsDir, i_input.profile, notes);
    const PlatformRules rules = GetPlatformRules(platform, i_input.profile, settings);
    sliced->profile = ApplyPlatformSettings(i_input.profile, settings, platform, notes);
    StorePlatformSettings(sliced->profile, platform);
    const auto strategies = AssignStrategies(platform, i_input.profile.strategies);
    notes.insert(notes.end(), strategies.replaced.begin(), strategies.replaced.end());
    notes.insert(notes.end(), rules.notes.begin(), rules.notes.end());
    for (std::size_t index = 0; index < parts.size(); ++index)
        parts[index].settings = GetEngineSettings(platform.GetParts()[index], i_input.profile.strategies);
    // Of one setting the last counts.
    auto& engineSettings = sliced->profile.engineSettings;
    engineSettings.insert(engineSettings.end(), rules.engineSettings.begin(), rules.engineSettings.end());

    const MachineProfile& profile = sliced->profile;
    const bool isResin = profile.technology == Technology::Sla;
    io_progress.Report(3, "Checking the parts");
    CheckBuildVolume(profile, parts);
    CheckNoBuildZones(parts, rules.zones, i_input.stop);
    CheckCollisions(parts, i_input.stop);

    io_progress.Report(6, "Preparing the slicing engine");
    const auto model = sliced->workDir.GetAbsoluteFileNameInTempDir("platform.3mf");
    sliced->machineFile = sliced->workDir.GetAbsoluteFileNameInTempDir(isResin ? "job.sl1" : "job.gcode");
    WriteEngineModel(parts, model, i_input.stop);
    io_progress.Report(EngineBegin, "Slicing");
    RunEngine({profile, i_input.enginePath, sliced->workDir.GetAbsoluteDir(), model, sliced->machineFile,
               [&](int i_percent, const std::string& i_stage) {
                   io_progress.Report(EngineBegin + i_percent * (EngineEnd - EngineBegin) / 100, i_stage);
               }},
              i_input.stop);

    io_progress.Report(EngineEnd, "Checking the machine file");
    sliced->figures = isResin ? ReadResinFigures(sliced->machineFile, profile, i_input.stop)
                              : ReadGCodeFigures(sliced->machineFile, profile, parts.size(), i_input.stop);
    SetFigures(platform, sliced->figures, profile.GetDefaultMaterial());
    io_progress.Report(90, "Checking the machine file");
    return sliced;
}

} // namespace MachineService::BuildProcessor
