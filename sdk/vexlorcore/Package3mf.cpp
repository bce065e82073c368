#include "vexlorcore/Package3mf.h"

#include "vexlorcore/MeshFileCheck.h"

#include <expat.h>
#include <zip.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace VexlorCore {

namespace {

constexpr zip_int64_t MaxEntries = 10'000;
constexpr std::uint64_t MaxUnpacked = std::uint64_t{4} << 30U;
constexpr std::uint64_t MaxRatio = 100;
constexpr std::uint64_t RatioFreeSize = 100'000;
constexpr int MaxDepth = 64;
constexpr int MaxAttributes = 256;
constexpr XML_Index MaxToken = XML_Index{8} << 20U;
constexpr std::size_t MaxInstances = MeshBounds::Parts;
constexpr int MaxComponentDepth = 32;

std::string_view WithoutPrefix(std::string_view i_name)
{
    return i_name.substr(i_name.find(':') + 1);
}

/// Goes through one XML document of the package as it is unpacked.
class ModelScanner
{
public:
    ModelScanner()
        : _parser(XML_ParserCreate(nullptr))
    {
        if (!_parser)
            throw std::bad_alloc();
        XML_SetUserData(_parser.get(), this);
        XML_SetElementHandler(_parser.get(), &ModelScanner::_OnStart, &ModelScanner::_OnEnd);
        XML_SetStartDoctypeDeclHandler(
            _parser.get(), [](void* ip_self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
                static_cast<ModelScanner*>(ip_self)->_Refuse("a document of it has a DOCTYPE");
            });
    }
    ModelScanner(const ModelScanner&) = delete;
    ModelScanner& operator=(const ModelScanner&) = delete;

    void Feed(const char* ip_bytes, std::size_t i_size, bool i_is_last)
    {
        const auto status = XML_Parse(_parser.get(), ip_bytes, static_cast<int>(i_size), i_is_last ? 1 : 0);
        _fed += static_cast<XML_Index>(i_size);
        if (!_refusal.empty())
            throw std::runtime_error(_refusal);
        if (status != XML_STATUS_OK)
            throw std::runtime_error(std::string("a document of it is no XML: ") +
                                     XML_ErrorString(XML_GetErrorCode(_parser.get())));
        if (!i_is_last && _fed - XML_GetCurrentByteIndex(_parser.get()) > MaxToken)
            throw std::runtime_error("a document of it holds a tag beyond all measure");
    }

    const std::optional<std::string>& GetUnit() const { return _unit; }

    /// By object id.
    const std::map<std::string, std::string>& GetNames() const { return _names; }

    /// Counts what the build items unfold to.
    void CheckInstances() const
    {
        Total total;
        for (const auto& item : _items)
            _Unfold(item, 0, total);
    }

private:
    struct ParserDeleter
    {
        void operator()(XML_Parser ip_parser) const { XML_ParserFree(ip_parser); }
    };
    struct Object
    {
        std::vector<std::string> components;
        std::size_t triangles = 0;
    };
    struct Total
    {
        std::size_t instances = 0;
        std::size_t triangles = 0;
    };

    void _Unfold(const std::string& i_id, int i_depth, Total& io_total) const
    {
        const auto object = _objects.find(i_id);
        if (object == _objects.end())
            throw std::runtime_error("it refers to an object that it does not hold");
        io_total.triangles += object->second.triangles;
        if (++io_total.instances > MaxInstances || i_depth > MaxComponentDepth ||
            io_total.triangles > MeshBounds::Triangles)
            throw std::runtime_error("its objects hold each other beyond measure");
        for (const auto& component : object->second.components)
            _Unfold(component, i_depth + 1, io_total);
    }

    void _Refuse(const std::string& i_reason)
    {
        if (_refusal.empty())
            _refusal = i_reason;
        XML_StopParser(_parser.get(), XML_FALSE);
    }

    static void XMLCALL _OnStart(void* ip_self, const XML_Char* ip_name, const XML_Char** ip_attributes)
    {
        static_cast<ModelScanner*>(ip_self)->_Start(WithoutPrefix(ip_name), ip_attributes);
    }

    static void XMLCALL _OnEnd(void* ip_self, const XML_Char* ip_name)
    {
        auto& self = *static_cast<ModelScanner*>(ip_self);
        --self._depth;
        if (WithoutPrefix(ip_name) == "object")
            self._object = nullptr;
    }

    void _Start(std::string_view i_name, const XML_Char** ip_attributes)
    {
        if (++_depth > MaxDepth)
            return _Refuse("a document of it is nested too deep");
        std::map<std::string_view, std::string_view> attributes;
        int count = 0;
        // A mesh has millions of triangles and vertices; of those only the number matters.
        const bool isWanted = i_name == "model" || i_name == "object" || i_name == "component" || i_name == "item";
        for (; *ip_attributes; ip_attributes += 2, ++count) {
            if (isWanted)
                attributes.emplace(ip_attributes[0], ip_attributes[1]);
        }
        if (count > MaxAttributes)
            return _Refuse("an element in it has too many attributes");
        if (i_name == "model" && _depth == 1)
            _unit = attributes.contains("unit") ? attributes["unit"] : "millimeter";
        else if (i_name == "object")
            _StartObject(std::string(attributes["id"]), std::string(attributes["name"]));
        else if (i_name == "triangle" && _object)
            ++_object->triangles;
        else if (i_name == "component" && _object)
            _object->components.emplace_back(attributes["objectid"]);
        else if (i_name == "item")
            _items.emplace_back(attributes["objectid"]);
        if (std::ranges::any_of(attributes, [](const auto& i_entry) { return i_entry.first.ends_with(":path"); }))
            _Refuse("its parts are spread over several model files, which is not supported");
    }

    void _StartObject(const std::string& i_id, const std::string& i_name)
    {
        _object = &_objects[i_id];
        if (!i_name.empty())
            _names[i_id] = i_name;
    }

    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> _parser;
    XML_Index _fed = 0;
    int _depth = 0;
    std::string _refusal;
    std::optional<std::string> _unit;
    std::map<std::string, Object> _objects;
    std::map<std::string, std::string> _names;
    Object* _object = nullptr;
    std::vector<std::string> _items;
};

double ToMillimetres(const std::string& i_unit)
{
    static const std::map<std::string, double> units = {{"micron", 0.001}, {"millimeter", 1.0}, {"centimeter", 10.0},
                                                        {"inch", 25.4},    {"foot", 304.8},     {"meter", 1000.0}};
    const auto found = units.find(i_unit);
    if (found == units.end())
        throw std::runtime_error("its unit '" + i_unit.substr(0, 40) + "' is unknown");
    return found->second;
}

void CheckName(std::string_view i_name)
{
    bool isSafe = !i_name.empty() && i_name.front() != '/' && i_name.find('\\') == i_name.npos;
    for (std::size_t begin = 0; isSafe && begin <= i_name.size();) {
        const auto end = std::min(i_name.find('/', begin), i_name.size());
        isSafe = i_name.substr(begin, end - begin) != "..";
        begin = end + 1;
    }
    if (!isSafe)
        throw std::runtime_error("an entry of it has a forbidden name");
}

using Archive = std::unique_ptr<zip_t, void (*)(zip_t*)>;

Archive Open(std::string_view i_bytes)
{
    zip_error_t error;
    zip_error_init(&error);
    auto* source = zip_source_buffer_create(i_bytes.data(), i_bytes.size(), 0, &error);
    auto* archive = source ? zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error) : nullptr;
    const std::string reason = archive ? std::string() : zip_error_strerror(&error);
    if (source && !archive)
        zip_source_free(source);
    zip_error_fini(&error);
    if (!archive)
        throw std::runtime_error("it is a damaged package: " + reason);
    return {archive, zip_discard};
}

/// Unpacks one entry into nothing, or through the scanner, and counts what comes out.
std::uint64_t Unpack(zip_t& i_archive, zip_uint64_t i_index, const zip_stat_t& i_stat, ModelScanner* ip_scanner)
{
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> file(zip_fopen_index(&i_archive, i_index, 0), zip_fclose);
    if (!file)
        throw std::runtime_error("an entry of it cannot be unpacked");
    std::vector<char> buffer(1U << 18U);
    std::uint64_t size = 0;
    for (;;) {
        const auto read = zip_fread(file.get(), buffer.data(), buffer.size());
        if (read < 0)
            throw std::runtime_error("an entry of it is damaged");
        size += static_cast<std::uint64_t>(read);
        if (size > i_stat.size)
            throw std::runtime_error("an entry of it is larger than it says");
        if (size > RatioFreeSize && size / std::max<std::uint64_t>(i_stat.comp_size, 1) >= MaxRatio)
            throw std::runtime_error("an entry of it unpacks to more than " + std::to_string(MaxRatio) +
                                     " times its size");
        if (ip_scanner)
            ip_scanner->Feed(buffer.data(), static_cast<std::size_t>(read), read == 0);
        if (read == 0)
            break;
    }
    if (size != i_stat.size)
        throw std::runtime_error("an entry of it is shorter than it says");
    return size;
}

} // namespace

void CheckPackage3mf(std::string_view i_bytes, MeshFileFacts& io_facts)
{
    const auto archive = Open(i_bytes);
    const auto count = zip_get_num_entries(archive.get(), 0);
    if (count > MaxEntries)
        throw std::runtime_error("it has more than " + std::to_string(MaxEntries) + " entries");
    std::uint64_t unpacked = 0;
    std::optional<std::string> unit;
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        zip_stat_t stat;
        if (zip_stat_index(archive.get(), index, 0, &stat) != 0 || !(stat.valid & ZIP_STAT_NAME) ||
            !(stat.valid & ZIP_STAT_SIZE))
            throw std::runtime_error("an entry of it is damaged");
        const std::string_view name = stat.name;
        CheckName(name);
        if (stat.size > MeshBounds::FileSize)
            throw std::runtime_error("an entry of it is too large");
        const bool isModel = name.ends_with(".model");
        const bool isXml = isModel || name.ends_with(".rels") || name.ends_with(".xml");
        std::optional<ModelScanner> scanner;
        if (isXml)
            scanner.emplace();
        unpacked += Unpack(*archive, index, stat, scanner ? &*scanner : nullptr);
        if (unpacked > MaxUnpacked)
            throw std::runtime_error("it unpacks to too much");
        if (!isModel)
            continue;
        if (unit && scanner->GetUnit() != unit)
            throw std::runtime_error("its models have different units");
        unit = scanner->GetUnit();
        scanner->CheckInstances();
        io_facts.objectNames = scanner->GetNames();
    }
    if (!unit)
        throw std::runtime_error("it holds no model");
    io_facts.millimetresPerUnit = ToMillimetres(*unit);
}

} // namespace VexlorCore
