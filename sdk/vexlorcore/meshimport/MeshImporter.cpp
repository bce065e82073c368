#include "vexlorcore/meshimport/MeshImporter.h"

#include "tavam/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/meshimport/IsolatedCall.h"
#include "vexlorcore/meshimport/MeshBounds.h"
#include "vexlorcore/meshimport/MeshFile.h"
#include "vexlorcore/meshimport/MeshText.h"
#include "vexlorcore/meshimport/MeshTransfer.h"

#include <QString>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace VexlorCore {

namespace {

/// In proportion to the file, so that a small one cannot take much.
CallLimits GetLimits(std::uint64_t i_size)
{
    constexpr std::uint64_t mega = std::uint64_t{1} << 20U;
    constexpr std::uint64_t memoryPerByte = 48;
    CallLimits limits;
    limits.memory = std::min(512 * mega + memoryPerByte * i_size, 12'288 * mega);
    limits.processorTime = std::chrono::seconds(std::min<std::uint64_t>(30 + 2 * i_size / mega, 300));
    limits.result = 2'048 * mega;
    return limits;
}

/// Empty for a name that says nothing. Not every tool writes UTF-8; what is none is taken as the character set that is
/// the most usual besides.
QString ToName(const std::string& i_name)
{
    constexpr int maxName = 250;
    const auto bytes = QByteArray::fromStdString(i_name.substr(0, MeshBounds::NameLength));
    auto text = TavSDK::IsUtf8(i_name) ? QString::fromUtf8(bytes) : QString::fromLatin1(bytes);
    const auto isUnseen = [](QChar i_character) {
        const auto code = i_character.unicode();
        // Control characters, and those that turn the direction of all that follows.
        return (i_character.category() == QChar::Other_Control && !i_character.isSpace()) ||
               (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) || code >= 0xFFFE;
    };
    text.truncate(static_cast<int>(std::remove_if(text.begin(), text.end(), isUnseen) - text.begin()));
    text = text.simplified().left(maxName);
    if (text.size() == maxName && text.at(maxName - 1).isHighSurrogate())
        text.chop(1);
    return text;
}

std::vector<TavAM::Part> Import(const std::filesystem::path& i_path, const std::stop_token& i_stop)
{
    auto file = TavSDK::InputFile::OpenIfThere(i_path);
    if (!file)
        throw std::runtime_error("it does not exist");
    const auto size = file->GetSize();
    if (size > MeshBounds::FileSize)
        throw std::runtime_error("it is larger than 1 GB");
    // Closed, so that only the process that reads it has it open.
    file.reset();
    auto extension = i_path.extension().string();
    std::ranges::transform(extension, extension.begin(), ToLower);
    const auto packed =
        CallIsolated([&] { return PackParts(ReadMeshFile(TavSDK::ReadFile(i_path, MeshBounds::FileSize), extension)); },
                     GetLimits(size), i_stop);
    if (!packed)
        throw ImportStopped("Reading the mesh file was cancelled.");
    const auto fileName = ToName(i_path.stem().string());
    std::vector<TavAM::Part> parts;
    for (auto& [name, mesh] : UnpackParts(*packed)) {
        const auto ownName = ToName(name);
        TavAM::Part part;
        part.SetName((ownName.isEmpty() ? fileName : ownName).toStdWString());
        part.SetRepresentation(TavAM::Representation::FromMesh(std::make_shared<TavAM::Mesh>(std::move(mesh))));
        parts.push_back(std::move(part));
    }
    return parts;
}

} // namespace

const std::vector<std::string>& GetMeshFileEndings()
{
    static const std::vector<std::string> endings = {".stl", ".3mf", ".obj", ".ply"};
    return endings;
}

std::string ListMeshFormats()
{
    std::string list;
    for (const std::string& ending : GetMeshFileEndings())
        list += (list.empty() ? "" : ", ") + QString::fromStdString(ending.substr(1)).toUpper().toStdString();
    return list;
}

std::vector<TavAM::Part> ImportMeshFile(const std::filesystem::path& i_path, const std::stop_token& i_stop)
{
    const std::string beginning = "The mesh file '" + TavSDK::ShowPath(i_path) + "' cannot be read: ";
    try {
        return Import(i_path, i_stop);
    } catch (const ImportStopped&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw TavAM::FileError(beginning + "there is not enough memory.");
    } catch (const std::exception& error) {
        throw TavAM::FileError(beginning + error.what() + '.');
    }
}

} // namespace VexlorCore
