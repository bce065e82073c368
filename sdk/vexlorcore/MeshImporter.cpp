#include "vexlorcore/MeshImporter.h"

#include "AssimpReader.h"
#include "MeshFileCheck.h"
#include "tavam/FileError.h"

#include <QString>

#include <fstream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace VexlorCore {

namespace {

std::string ReadBytes(const std::filesystem::path& i_path)
{
    std::error_code error;
    const auto status = std::filesystem::status(i_path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw std::runtime_error("it does not exist");
    if (!std::filesystem::is_regular_file(status))
        throw std::runtime_error("it is not a file");
    const auto size = std::filesystem::file_size(i_path, error);
    if (error)
        throw std::runtime_error(error.message());
    if (size > MeshBounds::FileSize)
        throw std::runtime_error("it is larger than 1 GB");
    std::ifstream file(i_path, std::ios::binary);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (!file.read(bytes.data(), static_cast<std::streamsize>(size)))
        throw std::runtime_error("it cannot be read");
    return bytes;
}

/// The name that the file gives an object; empty when it gives none.
QString GetOwnName(const std::string& i_name, const MeshFileFacts& i_facts)
{
    constexpr int maxName = 250;
    if (i_facts.format == MeshFormat::ThreeMf) {
        // The importer names nodes by the object's id, the package by a name beside it.
        const auto found = i_facts.objectNames.find(i_name.substr(i_name.rfind('_') + 1));
        return found == i_facts.objectNames.end() ? QString()
                                                  : QString::fromStdString(found->second).trimmed().left(maxName);
    }
    const auto name = QString::fromStdString(i_name).trimmed();
    // Names in angle brackets, and those after the name that the importer is given, are not the file's.
    const bool isMadeUp = name.startsWith(QLatin1Char('<')) || name.startsWith(QLatin1String("mesh.")) ||
                          name == QLatin1String("defaultobject");
    return isMadeUp ? QString() : name.left(maxName);
}

std::vector<TavAM::Part> Import(const std::filesystem::path& i_path)
{
    const auto bytes = ReadBytes(i_path);
    const auto extension = QString::fromStdString(i_path.extension().string()).toLower().toStdString();
    const auto facts = CheckMeshFile(bytes, extension);
    std::vector<TavAM::Part> parts;
    for (auto& [name, mesh] : ReadMeshes(bytes, facts)) {
        const auto ownName = GetOwnName(name, facts);
        TavAM::Part part;
        part.SetName((ownName.isEmpty() ? QString::fromStdString(i_path.stem().string()) : ownName).toStdWString());
        part.SetRepresentation(TavAM::Representation::FromMesh(std::make_shared<TavAM::Mesh>(std::move(mesh))));
        parts.push_back(std::move(part));
    }
    return parts;
}

} // namespace

std::vector<TavAM::Part> ImportMeshFile(const std::filesystem::path& i_path)
{
    const std::string beginning = "The mesh file '" + i_path.string() + "' cannot be read: ";
    try {
        return Import(i_path);
    } catch (const std::bad_alloc&) {
        throw TavAM::FileError(beginning + "there is not enough memory.");
    } catch (const std::exception& error) {
        throw TavAM::FileError(beginning + error.what() + '.');
    }
}

} // namespace VexlorCore
