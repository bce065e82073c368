#include "vexlorcore/meshimport/PlyHeader.h"

#include "vexlorcore/meshimport/MeshBounds.h"
#include "vexlorcore/meshimport/MeshText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <utility>

namespace VexlorCore {

namespace {

constexpr std::size_t MaxElements = 64;
constexpr std::size_t MaxProperties = 256; ///< of one element

struct TypeRow
{
    PlyType type;
    std::size_t size;
    std::array<std::string_view, 2> names;
};
constexpr std::array<TypeRow, 8> Types = {{
    {PlyType::Int8, 1, {"char", "int8"}},
    {PlyType::UInt8, 1, {"uchar", "uint8"}},
    {PlyType::Int16, 2, {"short", "int16"}},
    {PlyType::UInt16, 2, {"ushort", "uint16"}},
    {PlyType::Int32, 4, {"int", "int32"}},
    {PlyType::UInt32, 4, {"uint", "uint32"}},
    {PlyType::Float, 4, {"float", "float32"}},
    {PlyType::Double, 8, {"double", "float64"}},
}};

class HeaderReader
{
public:
    explicit HeaderReader(std::string_view i_bytes)
        : _rest(i_bytes)
    {
        // All lines end as the first one does; where data begin in the very next byte, this decides.
        const auto end = i_bytes.find_first_of("\r\n");
        const auto ending = i_bytes.substr(std::min(end, i_bytes.size()), 2);
        _lineEnd = ending == "\r\n" ? ending : ending.substr(0, 1);
    }

    PlyHeader Read()
    {
        _NextLine(); // "ply"
        for (;;) {
            auto words = _NextLine();
            const auto keyword = words.Next();
            if (IsSameWord(keyword, "end_header"))
                break;
            if (IsSameWord(keyword, "format"))
                _ReadFormat(words);
            else if (IsSameWord(keyword, "element"))
                _ReadElement(words);
            else if (IsSameWord(keyword, "property"))
                _ReadProperty(words);
            else if (!keyword.empty() && !IsSameWord(keyword, "comment") && !IsSameWord(keyword, "obj_info"))
                words.Fail(ShowWord(keyword) + " does not belong in the header");
        }
        if (!_hasFormat)
            throw std::runtime_error("its header names no format");
        _header.data = _rest;
        _header.dataLine = _line + 1;
        return std::move(_header);
    }

private:
    WordScanner _NextLine()
    {
        const auto end = _lineEnd.empty() ? _rest.npos : _rest.find(_lineEnd);
        if (end == _rest.npos)
            throw std::runtime_error("its header has no end");
        const WordScanner words(_rest.substr(0, end), ++_line);
        _rest.remove_prefix(end + _lineEnd.size());
        return words;
    }

    void _ReadFormat(WordScanner& io_words)
    {
        const auto format = io_words.Next();
        const auto version = io_words.Next();
        if (IsSameWord(format, "ascii"))
            _header.encoding = PlyEncoding::Text;
        else if (IsSameWord(format, "binary_little_endian"))
            _header.encoding = PlyEncoding::LittleEndian;
        else if (IsSameWord(format, "binary_big_endian"))
            _header.encoding = PlyEncoding::BigEndian;
        else
            io_words.Fail("the format " + ShowWord(format) + " is unknown");
        if (version != "1.0")
            io_words.Fail("the format's version " + ShowWord(version) + " is unknown");
        _hasFormat = true;
    }

    void _ReadElement(WordScanner& io_words)
    {
        const auto name = io_words.Next();
        const auto count = io_words.Next();
        if (_header.elements.size() == MaxElements)
            io_words.Fail("the header has more than " + std::to_string(MaxElements) + " elements");
        auto& element = _header.elements.emplace_back();
        element.name = name;
        const auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), element.count);
        if (error != std::errc() || end != count.data() + count.size())
            io_words.Fail(ShowWord(count) + " is no count of elements");
    }

    static PlyType _ReadType(WordScanner& io_words)
    {
        const auto word = io_words.Next();
        const auto found = std::ranges::find_if(Types, [&](const TypeRow& i_row) {
            return IsSameWord(word, i_row.names[0]) || IsSameWord(word, i_row.names[1]);
        });
        if (found == Types.end())
            io_words.Fail(ShowWord(word) + " is no type");
        return found->type;
    }

    void _ReadProperty(WordScanner& io_words)
    {
        if (_header.elements.empty())
            io_words.Fail("a property before the first element");
        auto& properties = _header.elements.back().properties;
        if (properties.size() == MaxProperties)
            io_words.Fail("the element has more than " + std::to_string(MaxProperties) + " properties");
        auto& property = properties.emplace_back();
        auto ahead = io_words;
        if (IsSameWord(ahead.Next(), "list")) {
            io_words = ahead;
            property.count = _ReadType(io_words);
        }
        property.type = _ReadType(io_words);
        property.name = io_words.Next();
    }

    std::string_view _rest;
    std::string_view _lineEnd;
    std::size_t _line = 0;
    bool _hasFormat = false;
    PlyHeader _header;
};

/// Bytes that one such element takes at least.
std::uint64_t GetLeastSize(const PlyElement& i_element, PlyEncoding i_encoding)
{
    // In a text, a digit and what separates it from the next.
    if (i_encoding == PlyEncoding::Text)
        return 2 * i_element.properties.size();
    std::uint64_t size = 0;
    for (const auto& property : i_element.properties)
        size += GetSize(property.count.value_or(property.type));
    return size;
}

/// What a header announces costs memory before any of it is read.
void CheckCounts(const PlyHeader& i_header)
{
    const std::uint64_t room = i_header.data.size() + 1; // the last line may lack its end
    std::uint64_t least = 0;
    for (const auto& element : i_header.elements) {
        if (element.count == 0)
            continue;
        const auto size = GetLeastSize(element, i_header.encoding);
        if (size == 0)
            throw std::runtime_error("its element " + ShowWord(element.name) + " has no properties");
        // Divided, because the product may be larger than any number.
        if (element.count > (room - least) / size)
            throw std::runtime_error("it is cut off: it announces " + std::to_string(element.count) +
                                     " of the element " + ShowWord(element.name) + ", and there is no room for them");
        least += element.count * size;
        const auto most = element.name == "vertex" ? MeshBounds::Vertices : MeshBounds::Triangles;
        const bool isRead = element.name == "vertex" || element.name == "face" || element.name == "tristrips";
        if (isRead && element.count > most)
            throw std::runtime_error("it has more than " + std::to_string(most) + " of the element " +
                                     ShowWord(element.name));
    }
}

} // namespace

std::size_t GetSize(PlyType i_type)
{
    return std::ranges::find(Types, i_type, &TypeRow::type)->size;
}

PlyHeader PlyHeader::Read(std::string_view i_bytes)
{
    auto header = HeaderReader(i_bytes).Read();
    CheckCounts(header);
    return header;
}

} // namespace VexlorCore
