#include "buildprocessor/engine/EngineModel.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/base/UniqueFd.h"
#include "buildprocessor/engine/EngineFailure.h"
#include "contract/Failure.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/ZipWriter.h"

#include <fcntl.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view ContentTypes =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>
)";
constexpr std::string_view Relations =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Target="/3D/3dmodel.model" Id="model" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/></Relationships>
)";

/// Collects text and hands it to a file in large pieces.
class TextFile
{
public:
    explicit TextFile(const std::filesystem::path& i_path)
        : _file(i_path, std::ios::binary)
    {}

    TextFile& operator<<(std::string_view i_text)
    {
        _buffer.append(i_text);
        if (_buffer.size() > 1'000'000)
            _Flush();
        return *this;
    }
    TextFile& operator<<(double i_value)
    {
        TavSDK::AppendNumber(i_value, _buffer);
        return *this;
    }
    TextFile& operator<<(std::size_t i_value) { return *this << std::to_string(i_value); }

    bool Close()
    {
        _Flush();
        _file.close();
        return !_file.fail();
    }

private:
    void _Flush()
    {
        _file.write(_buffer.data(), static_cast<std::streamsize>(_buffer.size()));
        _buffer.clear();
    }

    std::ofstream _file;
    std::string _buffer;
};

void WriteModel(const std::vector<PartGeometry>& i_parts, const std::filesystem::path& i_path, std::stop_token i_stop)
{
    TextFile file(i_path);
    file
        << R"(<?xml version="1.0" encoding="UTF-8"?>)"
        << "\n"
        << R"(<model unit="millimeter" xml:lang="en-US" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02"><resources>)";
    for (std::size_t index = 0; index < i_parts.size(); ++index) {
        const PartGeometry& part = i_parts[index];
        ThrowIfStopped(i_stop);
        file << "\n<object id=\"" << index + 1 << "\" type=\"model\" name=\"" << ToEngineName(part, index)
             << "\"><mesh><vertices>\n";
        for (const TavAM::Point3d& point : part.vertices)
            file << "<vertex x=\"" << point.x << "\" y=\"" << point.y << "\" z=\"" << point.z << "\"/>\n";
        file << "</vertices><triangles>\n";
        for (const auto& triangle : part.triangles) {
            file << "<triangle v1=\"" << std::size_t(triangle[0]) << "\" v2=\"" << std::size_t(triangle[1])
                 << "\" v3=\"" << std::size_t(triangle[2]) << "\"/>\n";
        }
        file << "</triangles></mesh></object>";
    }
    file << "</resources><build>";
    for (std::size_t index = 0; index < i_parts.size(); ++index)
        file << "<item objectid=\"" << index + 1 << "\"/>";
    file << "</build></model>\n";
    if (!file.Close())
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' for the slicing engine cannot be written.");
}

/// As an attribute of XML may hold it.
std::string Escape(std::string_view i_text)
{
    std::string escaped;
    for (const char character : i_text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\n':
            escaped += "&#10;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

/// The engine's own member of the package: name and settings of each object.
std::string MakePartSettings(const std::vector<PartGeometry>& i_parts)
{
    std::string objects;
    for (std::size_t index = 0; index < i_parts.size(); ++index) {
        const PartGeometry& part = i_parts[index];
        objects += "<object id=\"" + std::to_string(index + 1) + "\" instances_count=\"1\">\n";
        const auto add = [&](const std::string& i_name, const std::string& i_value) {
            objects += R"(<metadata type="object" key=")" + Escape(i_name) + "\" value=\"" + Escape(i_value) + "\"/>\n";
        };
        // The engine takes its name from here and nowhere else.
        add("name", ToEngineName(part, index));
        for (const auto& [name, value] : part.settings)
            add(name, value);
        objects += "<volume firstid=\"0\" lastid=\"" + std::to_string(part.triangles.size() - 1) + "\"/>\n</object>\n";
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n" + objects + "</config>\n";
}

} // namespace

void WriteEngineModel(const std::vector<PartGeometry>& i_parts, const std::filesystem::path& i_path,
                      std::stop_token i_stop)
{
    const auto model = std::filesystem::path(i_path).replace_extension(".model");
    WriteModel(i_parts, model, i_stop);

    const std::string partSettings = MakePartSettings(i_parts);
    // Packing would only take time: the engine reads the file once and it goes.
    constexpr auto Store = TavSDK::ZipWriter::Packing::Store;
    TavSDK::ZipWriter archive;
    try {
        const UniqueFd file(open(i_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file)
            throw TavSDK::FileError(TavSDK::ErrnoText(errno));
        archive.Add("[Content_Types].xml", {ContentTypes}, Store);
        archive.Add("_rels/.rels", {Relations}, Store);
        archive.AddFile("3D/3dmodel.model", model, Store);
        archive.Add("Metadata/Slic3r_PE_model.config", {partSettings}, Store);
        archive.Write(file.Get());
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError, "The file '" + TavSDK::ShowPath(i_path) +
                                       "' for the slicing engine cannot be written: " + failure.what() + '.');
    }
    std::filesystem::remove(model);
}

} // namespace MachineService::BuildProcessor
