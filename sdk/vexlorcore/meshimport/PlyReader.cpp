#include "vexlorcore/meshimport/MeshReaders.h"
#include "vexlorcore/meshimport/MeshText.h"
#include "vexlorcore/meshimport/PlyHeader.h"
#include "vexlorcore/meshimport/PolygonMesh.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace VexlorCore {

namespace {

/// The values of a text, one after the other, in however many lines.
class TextValues
{
public:
    explicit TextValues(const PlyHeader& i_header)
        : _words(i_header.data, i_header.dataLine)
    {}

    double Next(PlyType)
    {
        _BeginNext();
        return _words.NextCoordinate();
    }
    /// Values that are not needed may be anything, such as a colour that is "nan".
    void Skip(PlyType) { _BeginNext().Next(); }
    [[noreturn]] void Fail(const std::string& i_reason) const { _words.Fail(i_reason); }
    void CheckEnd()
    {
        if (const auto word = _words.Next(); !word.empty())
            _words.Fail(ShowWord(word) + " behind the last of the elements that the header announces");
    }

private:
    WordScanner& _BeginNext()
    {
        auto ahead = _words;
        if (ahead.Next().empty())
            throw std::runtime_error("it breaks off before the last of its elements");
        return _words;
    }

    WordScanner _words;
};

class BinaryValues
{
public:
    explicit BinaryValues(const PlyHeader& i_header)
        : _rest(i_header.data)
        , _isSwapped(i_header.encoding == PlyEncoding::BigEndian)
    {}

    double Next(PlyType i_type)
    {
        switch (i_type) {
        case PlyType::Int8:
            return _Take<std::int8_t>();
        case PlyType::UInt8:
            return _Take<std::uint8_t>();
        case PlyType::Int16:
            return _Take<std::int16_t>();
        case PlyType::UInt16:
            return _Take<std::uint16_t>();
        case PlyType::Int32:
            return _Take<std::int32_t>();
        case PlyType::UInt32:
            return _Take<std::uint32_t>();
        case PlyType::Float:
            return static_cast<double>(_Take<float>());
        case PlyType::Double:
            break;
        }
        return _Take<double>();
    }
    void Skip(PlyType i_type) { _TakeBytes(GetSize(i_type)); }
    [[noreturn]] void Fail(const std::string& i_reason) const { throw std::runtime_error(i_reason); }
    /// Some tools write more behind the last element.
    void CheckEnd() {}

private:
    std::string_view _TakeBytes(std::size_t i_size)
    {
        if (_rest.size() < i_size)
            Fail("it breaks off before the last of its elements");
        const auto bytes = _rest.substr(0, i_size);
        _rest.remove_prefix(i_size);
        return bytes;
    }

    template <class T>
    T _Take()
    {
        std::array<char, sizeof(T)> bytes;
        std::ranges::copy(_TakeBytes(sizeof(T)), bytes.begin());
        if (_isSwapped)
            std::ranges::reverse(bytes);
        T value = 0;
        std::memcpy(&value, bytes.data(), sizeof(T));
        return value;
    }

    std::string_view _rest;
    bool _isSwapped;
};

template <class Values>
class BodyReader
{
public:
    explicit BodyReader(const PlyHeader& i_header)
        : _header(i_header)
        , _values(i_header)
    {}

    TavAM::Mesh Read()
    {
        bool hasVertices = false;
        bool hasFaces = false;
        for (const auto& element : _header.elements) {
            if (element.name == "vertex" && !hasVertices) {
                hasVertices = true;
                _ReadVertices(element);
            } else if (element.name == "face" || element.name == "tristrips") {
                hasFaces = true;
                _ReadFaces(element);
            } else {
                _SkipElement(element);
            }
        }
        _values.CheckEnd();
        if (!hasVertices)
            throw std::runtime_error("it announces no element 'vertex'");
        if (!hasFaces)
            throw std::runtime_error("it is a cloud of points: it announces no element 'face'");
        return _mesh.Take();
    }

private:
    void _Skip(const PlyProperty& i_property)
    {
        for (auto left = i_property.count ? _ReadIndex(*i_property.count, "length of a list") : 1; left > 0; --left)
            _values.Skip(i_property.type);
    }

    void _SkipElement(const PlyElement& i_element)
    {
        for (std::uint64_t i = 0; i < i_element.count; ++i) {
            for (const auto& property : i_element.properties)
                _Skip(property);
        }
    }

    void _ReadVertices(const PlyElement& i_element)
    {
        constexpr std::array<std::string_view, 3> names = {"x", "y", "z"};
        for (const auto name : names) {
            const auto isCoordinate = [&](const auto& i_one) {
                return i_one.name == name && !i_one.count;
            };
            if (std::ranges::count_if(i_element.properties, isCoordinate) != 1)
                throw std::runtime_error("its vertices have no coordinate " + ShowWord(name));
        }
        for (std::uint64_t i = 0; i < i_element.count; ++i) {
            std::array<float, 3> point = {};
            for (const auto& property : i_element.properties) {
                const auto axis = std::ranges::find(names, property.name) - names.begin();
                if (property.count || axis == std::ssize(names))
                    _Skip(property);
                else
                    point.at(static_cast<std::size_t>(axis)) = static_cast<float>(_values.Next(property.type));
            }
            _mesh.AddVertex({point[0], point[1], point[2]});
        }
    }

    std::uint32_t _ReadIndex(PlyType i_type, const char* ip_what)
    {
        const double value = _values.Next(i_type);
        // False for what is not a number, too.
        if (!(value >= 0 && value <= std::numeric_limits<std::uint32_t>::max()) ||
            value != static_cast<double>(static_cast<std::uint32_t>(value)))
            _values.Fail(std::string("the ") + ip_what + " is no whole number from 0 on");
        return static_cast<std::uint32_t>(value);
    }

    void _ReadFaces(const PlyElement& i_element)
    {
        const bool isStrip = i_element.name == "tristrips";
        const auto isList = [](const PlyProperty& i_one) {
            return i_one.count && (i_one.name == "vertex_indices" || i_one.name == "vertex_index");
        };
        if (std::ranges::count_if(i_element.properties, isList) != 1)
            throw std::runtime_error("its element " + ShowWord(i_element.name) + " has no list 'vertex_indices'");
        for (std::uint64_t i = 0; i < i_element.count; ++i) {
            for (const auto& property : i_element.properties) {
                if (!isList(property))
                    _Skip(property);
                else if (isStrip)
                    _ReadStrips(property);
                else
                    _ReadFace(property);
            }
        }
    }

    void _ReadFace(const PlyProperty& i_list)
    {
        _corners.clear();
        for (auto left = _ReadIndex(*i_list.count, "number of a face's corners"); left > 0; --left)
            _corners.push_back(_ReadIndex(i_list.type, "index of a face's corner"));
        _mesh.AddFace(_corners);
    }

    /// Each corner makes a triangle with the two before it, every second one turned over; -1 begins anew.
    void _ReadStrips(const PlyProperty& i_list)
    {
        _corners.clear();
        for (auto left = _ReadIndex(*i_list.count, "length of a strip"); left > 0; --left) {
            const double value = _values.Next(i_list.type);
            if (value == -1) {
                _corners.clear();
                continue;
            }
            if (!(value >= 0 && value < static_cast<double>(std::numeric_limits<std::uint32_t>::max())))
                _values.Fail("the index of a strip's corner is out of range");
            _corners.push_back(static_cast<std::uint32_t>(value));
            const auto count = _corners.size();
            if (count < 3)
                continue;
            std::array<std::uint32_t, 3> triangle = {_corners[count - 3], _corners[count - 2], _corners[count - 1]};
            if (count % 2 == 0)
                std::swap(triangle[0], triangle[1]);
            _mesh.AddFace(triangle);
        }
    }

    const PlyHeader& _header;
    Values _values;
    PolygonMesh _mesh;
    std::vector<std::uint32_t> _corners; ///< kept, so that its memory is used again
};

} // namespace

bool IsPly(std::string_view i_bytes)
{
    i_bytes = SkipByteOrderMark(i_bytes);
    return BeginsWithWord(i_bytes, "ply") && i_bytes.find_first_of("\r\n") == i_bytes.find_first_not_of(" \t", 3);
}

ReadPart ReadPly(std::string_view i_bytes)
{
    const auto header = PlyHeader::Read(SkipByteOrderMark(i_bytes));
    return {{},
            header.encoding == PlyEncoding::Text ? BodyReader<TextValues>(header).Read()
                                                 : BodyReader<BinaryValues>(header).Read()};
}

} // namespace VexlorCore
