#include "vexlorui/PlatformImport.h"

#include "tavam/AMXFileReader.h"
#include "tavam/FileError.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Path.h"
#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorcore/Notifications.h"
#include "vexlorcore/meshimport/MeshImporter.h"

#include <boost/uuid/random_generator.hpp>

#include <QCoreApplication>
#include <QString>

#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Vexlor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

void AddProperties(TavAM::PersistentProperties& io_properties, const TavAM::PersistentProperties& i_added)
{
    for (const auto& [name, text] : i_added.GetAll()) {
        if (text)
            io_properties.SetText(name, *text);
        else
            io_properties.SetUndefined(name);
    }
}

void TakeWhole(TavAM::Platform& io_scene, const TavAM::Platform& i_loaded)
{
    io_scene.GetAMXProperties() = i_loaded.GetAMXProperties();
    io_scene.SetName(i_loaded.GetName());
    if (const auto* machine = i_loaded.GetMachine())
        io_scene.SetMachine(*machine);
    for (const auto& part : i_loaded.GetParts()) {
        if (auto* former = io_scene.FindPart(part.GetRevisionId()))
            *former = part;
        else
            io_scene.GetParts().push_back(part);
    }
}

void AddParts(TavAM::Platform& io_scene, const TavAM::Platform& i_loaded)
{
    for (auto part : i_loaded.GetParts()) {
        if (io_scene.FindPart(part.GetRevisionId()))
            part.SetRevisionId(boost::uuids::random_generator()());
        io_scene.GetParts().push_back(std::move(part));
    }
}

void TakePart(TavAM::Part& io_part, const TavAM::Part& i_loaded, ImportKind i_kind)
{
    if (i_kind == ImportKind::Placements)
        io_part.SetPlacement(i_loaded.GetPlacement());
    else if (i_kind == ImportKind::Properties)
        AddProperties(io_part.GetAMXProperties(), i_loaded.GetAMXProperties());
    else if (i_kind == ImportKind::Strategies && i_loaded.GetStrategies())
        io_part.SetStrategies(i_loaded.GetStrategies());
}

bool IsPlatformFile(const std::filesystem::path& i_path)
{
    return QString::fromStdString(i_path.extension().string()).compare(QLatin1String(".TavAMX"), Qt::CaseInsensitive) ==
           0;
}

Platforms ReadPlatformFile(const std::filesystem::path& i_path, const std::stop_token& i_stop)
{
    TavAM::Database file;
    TavAM::AMXFileReader::Read(i_path, file, i_stop);
    if (file.GetNumPlatforms() == 0)
        throw TavAM::FileError(QCoreApplication::translate("Vexlor::PlatformImport", "'%1' holds no platform.")
                                   .arg(QString::fromStdString(TavSDK::ShowPath(i_path)))
                                   .toStdString());
    Platforms platforms;
    for (std::size_t i = 0; i < file.GetNumPlatforms(); ++i)
        platforms.push_back(file.GetPlatform(i));
    return platforms;
}

template <class Read>
Platforms ReadFiles(const std::vector<std::wstring>& i_files, const std::stop_token& i_stop, const Read& i_read)
{
    Platforms platforms;
    try {
        for (const auto& name : i_files) {
            auto ofFile = i_read(TavSDK::PathFromWide(name), i_stop);
            std::move(ofFile.begin(), ofFile.end(), std::back_inserter(platforms));
        }
    } catch (const std::runtime_error&) {
        // Readers that are stopped end like a damaged file.
        if (!i_stop.stop_requested())
            throw;
        throw VexlorCore::JobCancelled(
            QCoreApplication::translate("Vexlor::PlatformImport", "Reading the files was cancelled.").toStdString());
    }
    return platforms;
}

} // namespace

ImportKind ToImportKind(std::int32_t i_kind)
{
    if (i_kind < static_cast<std::int32_t>(ImportKind::WholePlatform) ||
        i_kind > static_cast<std::int32_t>(ImportKind::AdditionalParts))
        throw std::runtime_error(
            QCoreApplication::translate("Vexlor::PlatformImport", "The host does not know the import kind %1.")
                .arg(i_kind)
                .toStdString());
    return static_cast<ImportKind>(i_kind);
}

Platforms ReadPlatforms(const std::vector<std::wstring>& i_files, const std::stop_token& i_stop)
{
    return ReadFiles(i_files, i_stop, &ReadPlatformFile);
}

Platforms ReadPlatformsAndMeshes(const std::vector<std::wstring>& i_files, const std::stop_token& i_stop)
{
    return ReadFiles(i_files, i_stop, [](const std::filesystem::path& i_path, const std::stop_token& i_token) {
        if (IsPlatformFile(i_path))
            return ReadPlatformFile(i_path, i_token);
        auto platform = std::make_shared<TavAM::Platform>();
        platform->GetParts() = VexlorCore::ImportMeshFile(i_path, i_token);
        return Platforms{std::move(platform)};
    });
}

void MergePlatform(TavAM::Platform& io_scene, const TavAM::Platform& i_loaded, ImportKind i_kind)
{
    if (i_kind == ImportKind::WholePlatform)
        return TakeWhole(io_scene, i_loaded);
    if (i_kind == ImportKind::AdditionalParts)
        return AddParts(io_scene, i_loaded);
    if (i_kind == ImportKind::Properties)
        AddProperties(io_scene.GetAMXProperties(), i_loaded.GetAMXProperties());
    for (const auto& part : i_loaded.GetParts()) {
        if (auto* known = io_scene.FindPart(part.GetRevisionId()))
            TakePart(*known, part, i_kind);
    }
}

void KeepAttachment(const TavAM::Platform& i_scene, TavAM::Platform& io_platform)
{
    const auto& kept = i_scene.GetAMXProperties().GetAll();
    auto& properties = io_platform.GetAMXProperties();
    for (const auto* name : {Names::SelectedQueueID, Names::OldSelectedQueueID, Names::MachineInformationTimestamp}) {
        properties.Remove(name);
        const auto found = kept.find(name);
        if (found == kept.end())
            continue;
        if (found->second)
            properties.SetText(name, *found->second);
        else
            properties.SetUndefined(name);
    }
}

std::uint32_t GetActions(ImportKind i_kind)
{
    using VexlorCore::DatabaseAction;
    const auto added = static_cast<std::uint32_t>(DatabaseAction::PartsAdded);
    const auto moved = static_cast<std::uint32_t>(DatabaseAction::PartsMoved);
    const auto properties = static_cast<std::uint32_t>(DatabaseAction::PropertiesChanged);
    switch (i_kind) {
    case ImportKind::WholePlatform:
        return added | moved | properties;
    case ImportKind::Placements:
        return moved;
    case ImportKind::Properties:
    case ImportKind::Strategies:
        return properties;
    case ImportKind::AdditionalParts:
        return added;
    }
    return 0;
}

TavAM::Platform WithPartsOf(const TavAM::Platform& i_scene, TavAM::Platform i_loaded)
{
    std::vector<TavAM::Part> loaded;
    loaded.swap(i_loaded.GetParts());
    i_loaded.GetParts() = i_scene.GetParts();
    for (auto& part : loaded) {
        if (!i_loaded.FindPart(part.GetRevisionId()))
            i_loaded.GetParts().push_back(std::move(part));
    }
    return i_loaded;
}

} // namespace Vexlor
