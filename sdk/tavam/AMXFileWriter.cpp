#include "tavam/AMXFileWriter.h"

#include "tavam/AMXDocumentWriter_p.h"
#include "tavam/AMXFormat_p.h"
#include "tavam/FileError.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/ZipWriter.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace TavAM {

namespace {

template <class Container>
std::string_view ViewBytes(const Container& i_container)
{
    return {reinterpret_cast<const char*>(i_container.data()),
            i_container.size() * sizeof(typename Container::value_type)};
}

void WritePackage(int i_file, const std::vector<const Platform*>& i_platforms)
{
    AMXDocumentWriter document;
    for (const Platform* platform : i_platforms)
        document.WritePlatform(*platform);
    const std::string text = document.Finish();
    std::deque<AMXFormat::MeshHeader> headers;
    TavSDK::ZipWriter package;
    const auto add = [&package](const std::string& i_name, std::vector<std::string_view> i_pieces) {
        package.Add(i_name, std::move(i_pieces), TavSDK::ZipWriter::Packing::Deflate);
    };
    add(AMXFormat::DocumentEntry, {text});
    for (const Mesh* mesh : document.GetMeshes()) {
        const std::string entry = AMXDocumentWriter::GetMeshEntry(headers.size());
        AMXFormat::MeshHeader& header = headers.emplace_back();
        header.vertexCount = static_cast<std::uint32_t>(mesh->vertices.size());
        header.triangleCount = static_cast<std::uint32_t>(mesh->triangles.size());
        add(entry, {{reinterpret_cast<const char*>(&header), sizeof(header)},
                    ViewBytes(mesh->vertices),
                    ViewBytes(mesh->triangles)});
    }
    for (std::size_t index = 0; index < document.GetDefinitions().size(); ++index)
        add(AMXDocumentWriter::GetDefinitionEntry(index), {*document.GetDefinitions()[index]});
    package.Write(i_file);
}

/// Lets every failure name the file.
template <class Step>
void Write(const std::filesystem::path& i_path, const Step& i_step)
{
    const std::string beginning = "The file " + TavSDK::Quote(TavSDK::ShowPath(i_path)) + " cannot be written: ";
    try {
        i_step();
    } catch (const std::bad_alloc&) {
        throw FileError(beginning + "there is not enough memory.");
    } catch (const std::exception& error) {
        throw FileError(beginning + error.what() + ".");
    }
}

void WritePlatforms(const std::filesystem::path& i_path, const std::vector<const Platform*>& i_platforms,
                    const std::function<void(const std::filesystem::path&)>& i_check)
{
    std::optional<TavSDK::AtomicFile> file;
    Write(i_path, [&] {
        file.emplace(i_path);
        WritePackage(file->GetDescriptor(), i_platforms);
        file->TakeRightsOfTarget();
    });
    if (i_check)
        i_check(file->GetTemporaryPath());
    Write(i_path, [&] { file->Commit(); });
}

} // namespace

void AMXFileWriter::WriteFile(const std::filesystem::path& i_path, const Database& i_database)
{
    std::vector<const Platform*> platforms;
    std::vector<std::shared_ptr<Platform>> owners;
    for (std::size_t index = 0; index < i_database.GetNumPlatforms(); ++index)
        platforms.push_back(owners.emplace_back(i_database.GetPlatform(index)).get());
    WritePlatforms(i_path, platforms, {});
}

void AMXFileWriter::WriteFile(const std::filesystem::path& i_path, const Platform& i_platform,
                              const std::function<void(const std::filesystem::path&)>& i_check)
{
    WritePlatforms(i_path, {&i_platform}, i_check);
}

} // namespace TavAM
