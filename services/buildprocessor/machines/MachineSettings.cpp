#include "buildprocessor/machines/MachineSettings.h"

#include "buildprocessor/base/JsonFields.h"
#include "contract/Failure.h"
#include "contract/PrivateFile.h"
#include "tavsdk/Text.h"

#include <QJsonDocument>
#include <QString>

#include <boost/uuid/uuid_io.hpp>

#include <array>
#include <charconv>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxBytes = 64 * 1024;

} // namespace

std::filesystem::path GetSettingsPath(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile)
{
    return i_settings_dir / (boost::uuids::to_string(i_profile.id) + ".json");
}

MachineSettings ReadMachineSettings(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile,
                                    std::vector<std::string>& io_notes)
{
    MachineSettings settings{i_profile.layerHeights.front(), i_profile.GetDefaultMaterial().name, {}};
    auto& [partToPart, partToWall] = settings.clearances;
    const Data::Nesting nesting = i_profile.configuration.nesting.value_or(Data::Nesting());
    partToPart = nesting.partToPart.value_or(partToPart);
    partToWall = nesting.partToWall.value_or(partToPart);
    const MachineSettings defaults = settings;
    const auto path = GetSettingsPath(i_settings_dir, i_profile);
    const auto text = ReadBoundedFile(path, MaxBytes);
    if (!text)
        return settings;
    try {
        const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(*text));
        if (!document.isObject())
            throw ProfileError(path.string() + ": the file must hold one JSON object");
        JsonFields fields(document.object(), path.string());
        settings.layerHeight = fields.Number("layerHeight", {0.01, 2}, defaults.layerHeight);
        settings.material = fields.Text("material", 100, defaults.material);
        const bool hasClearance = fields.Has("clearance");
        partToPart = fields.Number("clearance", {0.1, 100}, partToPart);
        // A file with one number means both by it.
        partToWall = fields.Number("wallClearance", {0, 100}, hasClearance ? partToPart : partToWall);
        fields.Finish();
    } catch (const ProfileError& failure) {
        Fail(ErrorCode::FileError, std::string("The settings of the printer are damaged: ") + failure.what() +
                                       ". Correct the file or remove it.");
    }
    if (!i_profile.FindLayerHeight(settings.layerHeight)) {
        io_notes.push_back("The printer does not offer the layer height of " +
                           TavSDK::NumberToText(settings.layerHeight) + " mm of its settings; it has " +
                           TavSDK::NumberToText(defaults.layerHeight) + " mm now.");
        settings.layerHeight = defaults.layerHeight;
    }
    if (!i_profile.FindMaterial(settings.material)) {
        io_notes.push_back("The printer does not offer the material '" + settings.material +
                           "' of its settings; it has '" + defaults.material + "' now.");
        settings.material = defaults.material;
    }
    return settings;
}

void WriteMachineSettings(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile,
                          const MachineSettings& i_settings)
{
    QJsonObject object;
    object.insert(QStringLiteral("layerHeight"), i_settings.layerHeight);
    object.insert(QStringLiteral("material"), QString::fromStdString(i_settings.material));
    object.insert(QStringLiteral("clearance"), i_settings.clearances.partToPart);
    object.insert(QStringLiteral("wallClearance"), i_settings.clearances.partToWall);
    const auto path = GetSettingsPath(i_settings_dir, i_profile);
    MakePrivateFolder(path.parent_path());
    WritePrivateFile(path, QJsonDocument(object).toJson().toStdString());
}

} // namespace MachineService::BuildProcessor
