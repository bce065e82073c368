#include "machinemanager/dispatch/BuildFiles.h"

#include "contract/Failure.h"
#include "contract/PlatformFiles.h"
#include "machinemanager/dispatch/PlatePicture.h"
#include "machinemanager/jobs/ManagerError.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <utility>

namespace MachineService::MachineManager {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

std::string GetText(const TavAM::Platform& i_platform, const wchar_t* ip_name)
{
    const auto text = i_platform.GetAMXProperties().GetText(ip_name);
    return text ? TavSDK::ToUtf8(*text) : std::string();
}

std::optional<double> GetNumber(const TavAM::Platform& i_platform, const wchar_t* ip_name)
{
    return TavSDK::ParseNumber(GetText(i_platform, ip_name));
}

JobEstimates ReadEstimates(const TavAM::Platform& i_platform)
{
    return {GetNumber(i_platform, Names::PrintTimeSeconds), GetNumber(i_platform, Names::MaterialCubicCentimetres),
            GetNumber(i_platform, Names::MaterialGrams)};
}

/// From the middle of the bed everything could be moved: what counts is how far the parts reach from one side to the
/// other.
void MeasureParts(const TavAM::Platform& i_platform, JobNeeds& o_needs)
{
    TavAM::BoundingBox all;
    for (const auto& part : i_platform.GetParts())
        all.Add(part.GetBoundingBox());
    if (all.IsEmpty())
        return;
    o_needs.width = all.max.x - all.min.x;
    o_needs.depth = all.max.y - all.min.y;
    o_needs.height = all.max.z - std::min(0.0, all.min.z);
}

bool IsPlatformFile(const std::filesystem::path& i_file)
{
    return i_file.extension() == ".TavAMX";
}

QString FromUtf8(const std::string& i_text)
{
    return QString::fromStdString(i_text);
}

std::vector<PartParameters> ReadOrder(const std::string& i_order)
{
    std::vector<PartParameters> parts;
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(i_order));
    for (const QJsonValue value : document.object()[QLatin1String("parts")].toArray()) {
        const auto object = value.toObject();
        PartParameters part;
        part.globalId = object[QLatin1String("id")].toString().toStdString();
        part.hasSupports = object[QLatin1String("supports")].toBool();
        for (const QJsonValue strategy : object[QLatin1String("strategies")].toArray())
            part.strategies.emplace_back(strategy.toArray()[0].toString().toStdString(),
                                         strategy.toArray()[1].toString().toStdString());
        parts.push_back(std::move(part));
    }
    return parts;
}

} // namespace

PlatformFacts ReadPlatformFacts(const std::filesystem::path& i_platform)
{
    const auto platform = ReadOnePlatform(i_platform);
    PlatformFacts facts;
    if (const auto* const machine = platform->GetMachine())
        facts.needs.model = TavSDK::ToUtf8(machine->modelId);
    facts.needs.material = GetText(*platform, Names::Material);
    facts.needs.nozzle = GetNumber(*platform, Names::Nozzle);
    MeasureParts(*platform, facts.needs);
    facts.estimates = ReadEstimates(*platform);
    for (const auto& [word, name] :
         {std::pair{"material", Names::Material}, std::pair{"layer height", Names::LayerHeight},
          std::pair{"nozzle", Names::Nozzle}, std::pair{"plate", Names::Plate}}) {
        if (auto text = GetText(*platform, name); !text.empty())
            facts.settings.emplace(word, std::move(text));
    }
    facts.picture = DrawPlate(*platform);
    facts.settings.emplace("parts", std::to_string(platform->GetParts().size()));
    return facts;
}

std::string WriteOrder(const std::vector<PartParameters>& i_parts)
{
    if (i_parts.empty())
        return {};
    QJsonArray parts;
    for (const auto& part : i_parts) {
        QJsonArray strategies;
        for (const auto& [role, id] : part.strategies)
            strategies.append(QJsonArray{FromUtf8(role), FromUtf8(id)});
        parts.append(QJsonObject{{QStringLiteral("id"), FromUtf8(part.globalId)},
                                 {QStringLiteral("supports"), part.hasSupports},
                                 {QStringLiteral("strategies"), strategies}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("parts"), parts}}).toJson(QJsonDocument::Compact).toStdString();
}

CommandParameters MakeBuildParameters(const Job& i_job, const std::filesystem::path& i_platform,
                                      const std::filesystem::path& i_input_dir)
{
    CommandParameters parameters;
    parameters.processName = "MachineManager";
    parameters.jobName = i_job.name;
    parameters.parts = ReadOrder(i_job.order);
    parameters.inputFile = i_input_dir / "Scene.TavAMX";
    // A copy, because a machine may do with its input what it likes.
    std::error_code failure;
    std::filesystem::copy_file(i_platform, parameters.inputFile, failure);
    if (failure)
        throw ManagerError(ManagerError::Kind::Storage, "The platform of the job cannot be copied (" +
                                                            failure.message() + "); look whether the disk is full.");
    return parameters;
}

BuildOutput ReadBuildOutput(const std::filesystem::path& i_output_dir)
{
    BuildOutput output;
    std::filesystem::path platform;
    std::vector<std::filesystem::path> others;
    for (const auto& entry : std::filesystem::directory_iterator(i_output_dir)) {
        if (IsPlatformFile(entry.path()))
            platform = entry.path();
        else if (entry.is_regular_file())
            others.push_back(entry.path());
    }
    std::filesystem::path told;
    if (!platform.empty()) {
        const auto built = ReadOnePlatform(platform);
        output.estimates = ReadEstimates(*built);
        told = TavSDK::PathFromUtf8(GetText(*built, Names::MachineFile));
    }
    if (others.size() > 1)
        Fail(ErrorCode::InternalError,
             "The machine left " + std::to_string(others.size()) + " files where one machine file is expected.");
    output.machineFile = others.empty() ? told : others.front();
    std::error_code failure;
    if (output.machineFile.empty() || !std::filesystem::is_regular_file(output.machineFile, failure))
        Fail(ErrorCode::InternalError, "The machine said that it built the job, and left no machine file.");
    output.name = TavSDK::ShowPath(told.empty() ? output.machineFile.filename() : told.filename());
    return output;
}

} // namespace MachineService::MachineManager
