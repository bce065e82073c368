#include "buildprocessor/MachineSettings.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/JsonFields.h"
#include "buildprocessor/PrivateFile.h"

#include <QJsonDocument>
#include <QString>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxBytes = 64 * 1024;

/// Index of the layer height in the profile; its size when it is not there.
std::size_t FindLayerHeight(const MachineProfile& i_profile, double i_height)
{
    const auto found = std::find_if(i_profile.layerHeights.begin(), i_profile.layerHeights.end(),
                                    [&](double i_known) { return std::abs(i_known - i_height) < 1e-6; });
    return static_cast<std::size_t>(found - i_profile.layerHeights.begin());
}

std::size_t FindMaterial(const MachineProfile& i_profile, const std::string& i_name)
{
    const auto found = std::find_if(i_profile.materials.begin(), i_profile.materials.end(),
                                    [&](const Material& i_known) { return i_known.name == i_name; });
    return static_cast<std::size_t>(found - i_profile.materials.begin());
}

std::string Cut(const std::wstring& i_text)
{
    return QString::fromStdWString(i_text).left(100).toStdString();
}

} // namespace

std::filesystem::path GetSettingsPath(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile)
{
    return i_settings_dir / (boost::uuids::to_string(i_profile.id) + ".json");
}

MachineSettings ReadMachineSettings(const std::filesystem::path& i_settings_dir, const MachineProfile& i_profile,
                                    std::vector<std::string>& io_notes)
{
    MachineSettings settings{i_profile.layerHeights.front(), i_profile.GetDefaultMaterial().name};
    settings.clearance = i_profile.rules.partToPart.value_or(settings.clearance);
    settings.wallClearance = i_profile.rules.partToWall.value_or(settings.clearance);
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
        settings.clearance = fields.Number("clearance", {0.1, 100}, defaults.clearance);
        // A file with one number means both by it.
        settings.wallClearance =
            fields.Number("wallClearance", {0, 100}, hasClearance ? settings.clearance : defaults.wallClearance);
        fields.Finish();
    } catch (const ProfileError& failure) {
        Fail(ErrorCode::FileError, std::string("The settings of the printer are damaged: ") + failure.what() +
                                       ". Correct the file or remove it.");
    }
    if (FindLayerHeight(i_profile, settings.layerHeight) == i_profile.layerHeights.size()) {
        io_notes.push_back("The printer does not offer the layer height of " + ToNumberText(settings.layerHeight) +
                           " mm of its settings; it has " + ToNumberText(defaults.layerHeight) + " mm now.");
        settings.layerHeight = defaults.layerHeight;
    }
    if (FindMaterial(i_profile, settings.material) == i_profile.materials.size()) {
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
    object.insert(QStringLiteral("clearance"), i_settings.clearance);
    object.insert(QStringLiteral("wallClearance"), i_settings.wallClearance);
    const auto path = GetSettingsPath(i_settings_dir, i_profile);
    MakePrivateFolder(path.parent_path());
    WritePrivateFile(path, QJsonDocument(object).toJson().toStdString());
}

MachineProfile ApplyPlatformSettings(const MachineProfile& i_profile, const MachineSettings& i_settings,
                                     const TavAM::Platform& i_platform, std::vector<std::string>& io_notes)
{
    MachineProfile profile = i_profile;
    const auto& properties = i_platform.GetAMXProperties();
    std::size_t height = FindLayerHeight(profile, i_settings.layerHeight);
    if (const auto text = properties.GetText(PropertyName::LayerHeight)) {
        bool isNumber = false;
        const double value = QString::fromStdWString(*text).toDouble(&isNumber);
        const std::size_t own = isNumber ? FindLayerHeight(profile, value) : profile.layerHeights.size();
        if (own < profile.layerHeights.size())
            height = own;
        else
            io_notes.push_back("The printer does not offer the platform's layer height '" + Cut(*text) + "'; " +
                               ToNumberText(profile.layerHeights[height]) + " mm is used.");
    }
    std::size_t material = FindMaterial(profile, i_settings.material);
    if (const auto text = properties.GetText(PropertyName::Material)) {
        const std::size_t own = FindMaterial(profile, QString::fromStdWString(*text).toStdString());
        if (own < profile.materials.size())
            material = own;
        else
            io_notes.push_back("The printer does not offer the platform's material '" + Cut(*text) + "'; '" +
                               profile.materials[material].name + "' is used.");
    }
    if (const auto text = properties.GetText(PropertyName::Nozzle); text && !profile.nozzles.empty()) {
        bool isNumber = false;
        const double value = QString::fromStdWString(*text).toDouble(&isNumber);
        const auto own = std::find_if(profile.nozzles.begin(), profile.nozzles.end(),
                                      [&](double i_known) { return std::abs(i_known - value) < 1e-6; });
        if (isNumber && own != profile.nozzles.end())
            profile.nozzleDiameter = *own;
        else
            io_notes.push_back("The printer does not offer the platform's nozzle '" + Cut(*text) + "'; " +
                               ToNumberText(profile.nozzleDiameter) + " mm is used.");
    }
    if (const auto text = properties.GetText(PropertyName::Plate); text && !profile.plates.empty()) {
        const std::string name = QString::fromStdWString(*text).toStdString();
        const auto own = std::find_if(profile.plates.begin(), profile.plates.end(),
                                      [&](const Plate& i_known) { return i_known.name == name; });
        if (own != profile.plates.end())
            profile.defaultPlate = static_cast<std::size_t>(own - profile.plates.begin());
        else
            io_notes.push_back("The printer does not offer the platform's plate '" + Cut(*text) + "'; '" +
                               profile.plates[profile.defaultPlate].name + "' is used.");
    }
    std::swap(profile.layerHeights[0], profile.layerHeights[height]);
    profile.defaultMaterial = material;
    return profile;
}

void StorePlatformSettings(const MachineProfile& i_profile, TavAM::Platform& io_platform)
{
    auto& properties = io_platform.GetAMXProperties();
    const auto set = [&](const wchar_t* ip_name, const std::string& i_text) {
        properties.SetText(ip_name, QString::fromStdString(i_text).toStdWString());
    };
    set(PropertyName::LayerHeight, ToNumberText(i_profile.layerHeights.front()));
    set(PropertyName::Material, i_profile.GetDefaultMaterial().name);
    // What an earlier printer had and this one does not is nobody's choice any more.
    properties.Remove(PropertyName::Nozzle);
    properties.Remove(PropertyName::Plate);
    if (!i_profile.nozzles.empty())
        set(PropertyName::Nozzle, ToNumberText(i_profile.nozzleDiameter));
    if (!i_profile.plates.empty())
        set(PropertyName::Plate, i_profile.plates[i_profile.defaultPlate].name);
}

std::string ToNumberText(double i_value)
{
    std::array<char, 32> text;
    return std::string(text.data(), std::to_chars(text.data(), text.data() + text.size(), i_value).ptr);
}

} // namespace MachineService::BuildProcessor
