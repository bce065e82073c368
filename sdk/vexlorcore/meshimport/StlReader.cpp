#include "tavsdk/Text.h"
#include "vexlorcore/meshimport/MeshBuilder.h"
#include "vexlorcore/meshimport/MeshReaders.h"
#include "vexlorcore/meshimport/MeshText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace VexlorCore {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers are copied from the file as they are");

constexpr std::size_t CountOffset = 80;
constexpr std::size_t HeaderSize = 84;
constexpr std::size_t TriangleSize = 50;
constexpr std::size_t CornersOffset = 12; ///< behind the normal, which nobody can trust

std::uint64_t GetCount(std::string_view i_bytes)
{
    std::uint32_t count = 0;
    std::memcpy(&count, i_bytes.data() + CountOffset, sizeof count);
    return count;
}

ReadPart ReadBinary(std::string_view i_bytes)
{
    if (i_bytes.size() < HeaderSize)
        throw std::runtime_error("it is too short for an STL file");
    const auto count = GetCount(i_bytes);
    const auto held = (i_bytes.size() - HeaderSize) / TriangleSize;
    if (count > held)
        throw std::runtime_error("it is cut off, or no STL file: its header announces " + std::to_string(count) +
                                 " triangles, and there is room for " + std::to_string(held));
    // Some tools write more behind the last triangle; whole triangles that are not counted are none of these.
    const auto rest = i_bytes.substr(HeaderSize + TriangleSize * count);
    if (count < held && rest.size() % TriangleSize == 0 && rest.find_first_not_of('\0') != rest.npos)
        throw std::runtime_error("its header announces " + std::to_string(count) + " triangles, and there are " +
                                 std::to_string(held));
    MeshBuilder builder;
    for (std::size_t i = 0; i < count; ++i) {
        std::array<float, 9> corners;
        std::memcpy(corners.data(), i_bytes.data() + HeaderSize + TriangleSize * i + CornersOffset, sizeof corners);
        const auto add = [&](std::size_t i_first) {
            return builder.AddVertex({corners[i_first], corners[i_first + 1], corners[i_first + 2]});
        };
        const auto a = add(0);
        const auto b = add(3);
        builder.AddTriangle(a, b, add(6));
    }
    return {{}, builder.Take()};
}

class TextReader
{
public:
    explicit TextReader(std::string_view i_text)
        : _words(SkipByteOrderMark(i_text))
    {}

    ReadPart Read()
    {
        std::string name;
        std::size_t solids = 0;
        for (auto word = _words.Next(); !word.empty(); word = _words.Next()) {
            if (!IsSameWord(word, "solid"))
                _words.Fail(ShowWord(word) + " where a solid should begin");
            name = _words.TakeRestOfLine();
            ++solids;
            _ReadSolid();
        }
        return {solids == 1 ? name : std::string(), _builder.Take()};
    }

private:
    std::string_view _NextOfFacet()
    {
        const auto word = _words.Next();
        if (word.empty())
            _words.Fail("it breaks off before the end of its solid");
        return word;
    }

    void _Expect(std::string_view i_lower_case)
    {
        const auto word = _NextOfFacet();
        if (!IsSameWord(word, i_lower_case))
            _words.Fail(ShowWord(word) + " instead of " + TavSDK::Quote(i_lower_case));
    }

    void _ReadSolid()
    {
        for (;;) {
            const auto word = _NextOfFacet();
            if (IsSameWord(word, "endsolid")) {
                _words.TakeRestOfLine();
                return;
            }
            if (IsSameWord(word, "facet"))
                _ReadFacet();
            else if (IsSameWord(word, "color"))
                _words.TakeRestOfLine();
            else
                _words.Fail(ShowWord(word) + " instead of 'facet' or 'endsolid'");
        }
    }

    void _ReadFacet()
    {
        // Normals follow from the corners, and some tools write what is no number.
        constexpr int normalWords = 4;
        const auto line = _words.GetLine();
        auto word = _NextOfFacet();
        for (int i = 0; i < normalWords && !IsSameWord(word, "outer"); ++i)
            word = _NextOfFacet();
        if (!IsSameWord(word, "outer"))
            _words.Fail(ShowWord(word) + " instead of 'outer loop'");
        _Expect("loop");
        std::array<std::uint32_t, 3> corners = {};
        std::size_t count = 0;
        for (word = _NextOfFacet(); IsSameWord(word, "vertex"); word = _NextOfFacet(), ++count) {
            const auto corner = _ReadVertex();
            if (count < corners.size())
                corners[count] = corner;
        }
        if (!IsSameWord(word, "endloop"))
            _words.Fail(ShowWord(word) + " instead of 'vertex' or 'endloop'");
        _Expect("endfacet");
        if (count != corners.size())
            throw std::runtime_error("line " + std::to_string(line) + ": the facet has " + std::to_string(count) +
                                     " vertices instead of three");
        _builder.AddTriangle(corners[0], corners[1], corners[2]);
    }

    std::uint32_t _ReadVertex()
    {
        std::array<float, 3> values;
        for (float& value : values)
            value = static_cast<float>(_words.NextCoordinate());
        return _builder.AddVertex({values[0], values[1], values[2]});
    }

    WordScanner _words;
    MeshBuilder _builder;
};

} // namespace

bool IsExactBinaryStl(std::string_view i_bytes)
{
    return i_bytes.size() >= HeaderSize && i_bytes.size() == HeaderSize + TriangleSize * GetCount(i_bytes);
}

bool IsTextStl(std::string_view i_bytes)
{
    // The header of a binary file may begin with the word, too.
    const auto text = SkipByteOrderMark(i_bytes);
    return BeginsWithWord(text.substr(std::min(text.find_first_not_of(" \t\v\f\r\n"), text.size())), "solid") &&
           !IsExactBinaryStl(i_bytes) && !IsBinary(i_bytes);
}

ReadPart ReadStl(std::string_view i_bytes)
{
    if (IsTextStl(i_bytes))
        return TextReader(i_bytes).Read();
    if (!IsExactBinaryStl(i_bytes) && !IsBinary(i_bytes))
        throw std::runtime_error("it is a text, but not of a mesh: an STL text begins with the word 'solid'");
    return ReadBinary(i_bytes);
}

} // namespace VexlorCore
