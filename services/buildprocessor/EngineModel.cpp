#include "buildprocessor/EngineModel.h"

#include "buildprocessor/Failure.h"

#include <zip.h>

#include <array>
#include <charconv>
#include <fstream>
#include <memory>
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
    TextFile& operator<<(double i_value) { return _AddNumber(i_value); }
    TextFile& operator<<(std::size_t i_value) { return _AddNumber(i_value); }

    bool Close()
    {
        _Flush();
        _file.close();
        return !_file.fail();
    }

private:
    template <class Number>
    TextFile& _AddNumber(Number i_value)
    {
        std::array<char, 40> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), i_value).ptr;
        return *this << std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data()));
    }
    void _Flush()
    {
        _file.write(_buffer.data(), static_cast<std::streamsize>(_buffer.size()));
        _buffer.clear();
    }

    std::ofstream _file;
    std::string _buffer;
};

/// The name as it may stand in a comment of the machine file: it must not break out of its line there.
std::string ToLabel(const std::string& i_name)
{
    constexpr std::size_t longest = 60;
    std::string label;
    for (const char character : i_name.substr(0, longest)) {
        const bool plain = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                           (character >= '0' && character <= '9') || character == '.' || character == '-' ||
                           character == ' ';
        label += plain ? character : '_';
    }
    return label;
}

void WriteModel(const std::vector<PartGeometry>& i_parts, const std::filesystem::path& i_path, std::stop_token i_stop)
{
    TextFile file(i_path);
    file
        << R"(<?xml version="1.0" encoding="UTF-8"?>)"
        << "\n"
        << R"(<model unit="millimeter" xml:lang="en-US" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02"><resources>)";
    for (std::size_t index = 0; index < i_parts.size(); ++index) {
        const PartGeometry& part = i_parts[index];
        if (i_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        file << "\n<object id=\"" << index + 1 << "\" type=\"model\" name=\"" << ToLabel(part.name)
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

/// The engine's own member of the package: settings by object. Empty when no part has any.
std::string MakePartSettings(const std::vector<PartGeometry>& i_parts)
{
    std::string objects;
    for (std::size_t index = 0; index < i_parts.size(); ++index) {
        const PartGeometry& part = i_parts[index];
        if (part.settings.empty())
            continue;
        objects += "<object id=\"" + std::to_string(index + 1) + "\" instances_count=\"1\">\n";
        const auto add = [&](const std::string& i_name, const std::string& i_value) {
            objects += R"(<metadata type="object" key=")" + Escape(i_name) + "\" value=\"" + Escape(i_value) + "\"/>\n";
        };
        // The engine takes its name from here as soon as the object stands here.
        add("name", ToLabel(part.name));
        for (const auto& [name, value] : part.settings)
            add(name, value);
        objects += "<volume firstid=\"0\" lastid=\"" + std::to_string(part.triangles.size() - 1) + "\"/>\n</object>\n";
    }
    return objects.empty() ? objects
                           : "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n" + objects + "</config>\n";
}

} // namespace

void WriteEngineModel(const std::vector<PartGeometry>& i_parts, const std::filesystem::path& i_path,
                      std::stop_token i_stop)
{
    const auto model = std::filesystem::path(i_path).replace_extension(".model");
    WriteModel(i_parts, model, i_stop);

    std::unique_ptr<zip_t, decltype(&zip_discard)> archive(zip_open(i_path.c_str(), ZIP_CREATE | ZIP_EXCL, nullptr),
                                                           &zip_discard);
    const auto add = [&](const char* ip_name, zip_source_t* ip_source) {
        const zip_int64_t index = ip_source ? zip_file_add(archive.get(), ip_name, ip_source, ZIP_FL_ENC_UTF_8) : -1;
        if (index < 0)
            zip_source_free(ip_source);
        // Packing would only take time: the engine reads the file once and it goes.
        return index >= 0 &&
               zip_set_file_compression(archive.get(), static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0) == 0;
    };
    const auto text = [&](std::string_view i_text) {
        return zip_source_buffer(archive.get(), i_text.data(), i_text.size(), 0);
    };
    const std::string partSettings = MakePartSettings(i_parts);
    const bool added = archive && add("[Content_Types].xml", text(ContentTypes)) &&
                       add("_rels/.rels", text(Relations)) &&
                       add("3D/3dmodel.model", zip_source_file(archive.get(), model.c_str(), 0, -1)) &&
                       (partSettings.empty() || add("Metadata/Slic3r_PE_model.config", text(partSettings)));
    if (!added || zip_close(archive.get()) != 0)
        Fail(ErrorCode::FileError, "The file '" + i_path.string() + "' for the slicing engine cannot be written.");
    // Closing has freed it.
    (void)archive.release();
    std::filesystem::remove(model);
}

} // namespace MachineService::BuildProcessor
