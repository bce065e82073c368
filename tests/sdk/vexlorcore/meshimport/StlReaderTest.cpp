#include "sdk/vexlorcore/meshimport/MeshVariants.h"

#include <limits>

namespace {

using namespace MeshVariants;

class StlReaderTest : public MeshVariantTest
{};

void SetFloat(std::string& io_bytes, std::size_t i_offset, float i_value)
{
    std::memcpy(&io_bytes[i_offset], &i_value, sizeof i_value);
}

TEST_F(StlReaderTest, ReadsTextsOfManyTools)
{
    const auto text = MakeTextStl("x");
    std::string upper = text;
    for (char& character : upper)
        character = static_cast<char>(std::toupper(character));
    _Check({
        {"plain.stl", text},
        {"capital-keyword.stl", Replace(text, "solid x", "SOLID x")},
        {"all-capital.stl", upper},
        {"byte-order-mark.stl", "\xEF\xBB\xBF" + text},
        {"blank-line.stl", "\n \r\n\t" + text},
        {"crlf.stl", Replace(text, "\n", "\r\n")},
        {"cr.stl", Replace(text, "\n", "\r")},
        {"tabs.stl", Replace(text, " ", "\t \t")},
        {"exponents.stl", Replace(text, "10", "+1.000E+001")},
        {"decimal-commas.stl", Replace(text, "10", "10,0")},
        {"not-a-number-normals.stl", Replace(text, "normal 0 0 0", "normal nan -nan(ind) 1.#QNAN")},
        {"no-normals.stl", Replace(text, "facet normal 0 0 0", "facet")},
        {"no-name.stl", Replace(text, "solid x", "solid")},
        {"name-like-keyword.stl", Replace(text, "solid x", "solid facet endsolid facet")},
        {"several-words-of-name.stl", Replace(text, "solid x", "solid made by a tool 1.0 ; units = mm")},
        {"colours.stl", Replace(text, "facet normal", "color 0.5 0.5 0.5\nfacet normal")},
        {"indented.stl", Replace(text, "\n", "\n      ")},
        {"no-last-line-end.stl", text.substr(0, text.size() - 1)},
        {"blank-lines-behind.stl", text + "\n\n \n"},
        {"two-solids.stl", text + Replace(MakeTextStl("y"), "vertex ", "vertex 2"), 8, Volume + 19 * Volume},
        {"empty-second-solid.stl", text + "solid y\nendsolid y\n"},
        {"flat-facets.stl", Replace(text, "endsolid",
                                    "facet normal 0 0 0\nouter loop\nvertex 1 1 1\nvertex 1 1 1\nvertex 2 2 "
                                    "2\nendloop\nendfacet\nendsolid")},
        {"far-away.stl", Replace(Replace(text, " 10", " 500010"), " 0", " 500000")},
    });
}

TEST_F(StlReaderTest, ReadsBinaryFilesOfManyTools)
{
    const auto bytes = MakeBinaryStl();
    auto headedSolid = bytes;
    headedSolid.replace(0, 9, "solid abc");
    auto coloured = bytes;
    for (std::size_t i = 0; i < 4; ++i)
        coloured.replace(84 + 50 * i + 48, 2, "\x1F\xFC");
    coloured.replace(0, 20, "COLOR=\xFF\xFF\xFF\xFF MATERIAL=");
    auto twice = bytes;
    twice[80] = 5;
    twice.append(bytes, 84, 12).append(bytes, 84 + 12, 12).append(bytes, 84 + 12, 12).append(bytes, 84 + 12, 14);
    _Check({
        {"plain.stl", bytes},
        {"no-extension", bytes},
        {"upper-case.STL", bytes},
        {"solid-header.stl", headedSolid},
        {"solid-header-and-more-behind.stl", headedSolid + "made by a tool"},
        {"more-behind.stl", bytes + std::string(7, 'x')},
        {"zeros-behind.stl", bytes + std::string(512, '\0')},
        {"colours.stl", coloured},
        {"flat-triangle.stl", twice},
    });
}

TEST_F(StlReaderTest, RefusesWhatIsNoBodyWithTheTrueReason)
{
    const auto text = MakeTextStl("x");
    const auto bytes = MakeBinaryStl();
    auto flipped = bytes;
    flipped[81] = '\x40';
    auto fewer = bytes;
    fewer[80] = 3;
    auto withNan = bytes;
    SetFloat(withNan, 84 + 12, std::numeric_limits<float>::quiet_NaN());
    auto infinite = bytes;
    SetFloat(infinite, 84 + 12, std::numeric_limits<float>::infinity());
    const std::string fiveVertices =
        Replace(text, "endloop\nendfacet\nendsolid", "vertex 1 1 1\nvertex 2 2 2\nendloop\nendfacet\nendsolid");
    _Check({
        Refused("five-vertices.stl", fiveVertices, "line 23: the facet has 5 vertices instead of three"),
        Refused("two-vertices.stl", Replace(text, "vertex 0 0 10\nendloop", "endloop"),
                "line 9: the facet has 2 vertices instead of three"),
        Refused("word.stl", Replace(text, "vertex 10", "vertex x10"), "line 6: 'x10' is not a number"),
        Refused("nan.stl", Replace(text, "vertex 10", "vertex nan"), "line 6: 'nan' is not a number"),
        Refused("control-characters.stl", Replace(text, "vertex 10", "vertex \x1B[31m\xFF"),
                "line 6: '?[31m\xEF\xBF\xBD' is not a number"),
        Refused("cut-in-facet.stl", text.substr(0, text.rfind("endloop")),
                "line 28: it breaks off before the end of its solid"),
        Refused("cut-before-end.stl", text.substr(0, text.find("endsolid")),
                "line 30: it breaks off before the end of its solid"),
        Refused("text-behind.stl", text + "and so on\n", "line 31: 'and' where a solid should begin"),
        Refused("empty-solid.stl", "solid x\nendsolid x\n", "it holds no triangle"),
        Refused("letter.stl", "Dear reader,\n" + std::string(500, 'x'),
                "it is a text, but not of a mesh: an STL text begins with the word 'solid'"),
        Refused("utf-16.stl", std::string("\xFF\xFEs\0o\0l\0i\0d\0", 12),
                "it is a text in UTF-16, and only UTF-8 is read"),
        Refused("short.stl", bytes.substr(0, 60),
                "it is a text, but not of a mesh: an STL text begins with the word 'solid'"),
        Refused("cut.stl", bytes.substr(0, 150),
                "it is cut off, or no STL file: its header announces 4 triangles, and there is room for 1"),
        Refused("flipped-count.stl", flipped,
                "it is cut off, or no STL file: its header announces 16388 triangles, and there is room for 4"),
        Refused("lower-count.stl", fewer, "its header announces 3 triangles, and there are 4"),
        Refused("zeros.stl", std::string(84, '\0'), "it holds no triangle"),
        Refused("one-point.stl", Replace(text, "10", "0"), "none of its triangles has three different corners"),
        Refused("nan-binary.stl", withNan, "it holds a coordinate that is not a number"),
        Refused("infinite.stl", infinite, "the coordinates of vertex 0 are not finite or beyond 1000000 mm"),
        Refused("too-far.stl", Replace(text, "vertex 10", "vertex 1e7"),
                "the coordinates of vertex 2 are not finite or beyond 1000000 mm"),
        Refused("beyond-numbers.stl", Replace(text, "vertex 10", "vertex 1e999"), "line 6: '1e999' is not a number"),
    });
}

} // namespace
