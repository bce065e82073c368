#include "vexlorcore/meshimport/MeshReaders.h"
#include "vexlorcore/meshimport/MeshText.h"
#include "vexlorcore/meshimport/PolygonMesh.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace VexlorCore {

namespace {

class ObjReader
{
public:
    explicit ObjReader(std::string_view i_text)
        : _words(SkipByteOrderMark(i_text))
    {}

    ReadPart Read()
    {
        for (auto word = _words.Next(); !word.empty(); word = _words.Next()) {
            _ReadStatement(word);
            _words.TakeRestOfLine();
        }
        if (_mesh.GetVertexCount() == 0 && !_hasFaces)
            throw std::runtime_error("it is a text without vertices and faces, so not of a mesh");
        return {_objects == 1 ? _name : std::string(), _mesh.Take()};
    }

private:
    void _ReadStatement(std::string_view i_word)
    {
        _isContinued = false;
        if (IsSameWord(i_word, "v"))
            return _ReadVertex();
        if (IsSameWord(i_word, "f") || IsSameWord(i_word, "fo"))
            return _ReadFace();
        if (IsSameWord(i_word, "o")) {
            _name = _words.TakeRestOfLine();
            // Faces before the first name belong to another object.
            _objects += _hasFaces && _objects == 0 ? 2 : 1;
        }
        // Left out, the body would have a hole.
        if (IsSameWord(i_word, "curv") || IsSameWord(i_word, "surf"))
            _words.Fail("curves and free-form surfaces are not read, only faces");
    }

    void _ReadVertex()
    {
        std::array<float, 3> point;
        for (float& value : point) {
            const auto word = _NextOfStatement();
            const auto number = ParseCoordinate(word);
            if (!number)
                _words.Fail(word.empty() ? std::string("a coordinate is missing")
                                         : ShowWord(word) + " is not a number");
            value = static_cast<float>(*number);
        }
        _mesh.AddVertex({point[0], point[1], point[2]});
    }

    void _ReadFace()
    {
        _hasFaces = true;
        _corners.clear();
        for (auto word = _NextOfStatement(); !word.empty() && !word.starts_with('#'); word = _NextOfStatement())
            _corners.push_back(_ToIndex(word));
        if (_corners.size() < 3)
            _words.Fail("the face has fewer than three corners");
        _mesh.AddFace(_corners);
    }

    /// From 1 on, or back from the last vertex so far; behind a slash stand texture and normal.
    std::uint32_t _ToIndex(std::string_view i_word) const
    {
        const auto digits = i_word.substr(0, i_word.find('/'));
        std::int64_t index = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
        if (error != std::errc() || end != digits.data() + digits.size())
            _words.Fail(ShowWord(i_word) + " is not the number of a vertex");
        const auto known = static_cast<std::int64_t>(_mesh.GetVertexCount());
        const auto fromZero = index < 0 ? known + index : index - 1;
        if (index == 0 || fromZero < 0 || fromZero >= std::numeric_limits<std::uint32_t>::max())
            _words.Fail("a face refers to vertex " + std::to_string(index) + ", which is not there");
        return static_cast<std::uint32_t>(fromZero);
    }

    /// A backslash at the end of a line continues the statement in the next.
    std::string_view _NextOfStatement()
    {
        for (;;) {
            auto word = _isContinued ? _words.Next() : _words.NextOfLine();
            _isContinued = word.ends_with('\\');
            word.remove_suffix(_isContinued ? 1 : 0);
            if (!word.empty() || !_isContinued)
                return word;
        }
    }

    WordScanner _words;
    PolygonMesh _mesh;
    std::string _name;
    std::size_t _objects = 0;
    bool _hasFaces = false;
    bool _isContinued = false;
    std::vector<std::uint32_t> _corners; ///< kept, so that its memory is used again
};

} // namespace

ReadPart ReadObj(std::string_view i_bytes)
{
    if (IsBinary(i_bytes))
        throw std::runtime_error("it is no OBJ file, because it is no text");
    return ObjReader(i_bytes).Read();
}

} // namespace VexlorCore
