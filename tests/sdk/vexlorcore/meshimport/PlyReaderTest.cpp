#include "sdk/vexlorcore/meshimport/MeshVariants.h"

#include <algorithm>

namespace {

using namespace MeshVariants;

class PlyReaderTest : public MeshVariantTest
{};

/// \param i_behind_vertex, i_behind_face bytes that follow each vertex and each face.
std::string MakeBinary(bool i_is_big, const std::string& i_header, const std::string& i_behind_vertex = {},
                       const std::string& i_behind_face = {}, float i_first = 0)
{
    std::string bytes = i_header;
    const auto append = [&](const auto& i_value) {
        std::string value(reinterpret_cast<const char*>(&i_value), sizeof i_value);
        if (i_is_big)
            std::ranges::reverse(value);
        bytes += value;
    };
    for (int i = 0; i < 4; ++i) {
        append(i == 0 ? i_first : Corners[i][0]);
        append(Corners[i][1]);
        append(Corners[i][2]);
        bytes += i_behind_vertex;
    }
    for (const auto& face : Faces) {
        bytes += '\3';
        for (const int corner : face)
            append(corner);
        bytes += i_behind_face;
    }
    return bytes;
}

TEST_F(PlyReaderTest, ReadsTextsOfManyTools)
{
    const auto text = MakePly();
    const std::string cube =
        "ply\nformat ascii 1.0\nelement vertex 8\nproperty float x\nproperty float y\nproperty float z\n"
        "element face 6\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n10 0 0\n10 10 0\n"
        "0 10 0\n0 0 10\n10 0 10\n10 10 10\n0 10 10\n4 0 3 2 1\n4 4 5 6 7\n4 0 1 5 4\n4 1 2 6 5\n"
        "4 2 3 7 6\n4 3 0 4 7\n";
    const auto data = text.find("0 0 0\n");
    const std::string header = text.substr(0, data);
    const std::string points = "0 0 0\n10 0 0\n0 10 0\n0 0 10\n";
    const std::string faces = text.substr(text.find("3 0 2 1"));
    _Check({
        {"plain.ply", text},
        {"no-extension", text},
        {"crlf.ply", Replace(text, "\n", "\r\n")},
        {"cr.ply", Replace(text, "\n", "\r")},
        {"tabs.ply", header + Replace(points + faces, " ", "\t")},
        {"blank-lines.ply", header + Replace(points + faces, "\n", "\n\n")},
        {"one-line.ply", header + Replace(points + faces, "\n", " ")},
        {"words-in-comments.ply", Replace(text, "element vertex",
                                          "comment element vertex 9\ncomment end_header\nobj_info element "
                                          "face 99\nelement vertex")},
        {"other-name-of-list.ply", Replace(text, "vertex_indices", "vertex_index")},
        {"names-of-sizes.ply", Replace(Replace(text, "float", "float32"), "uchar int", "uint8 int32")},
        {"double.ply", Replace(text, "float", "double")},
        {"integer.ply", Replace(text, "float", "short")},
        {"exponents.ply", Replace(text, "10 ", "+1.0E+01 ")},
        {"quadrangles.ply", cube, 12, 1000},
        {"order-of-coordinates.ply", Replace(Replace(header, "property float x\n", ""), "property float z\n",
                                             "property float z\nproperty float nx\nproperty float x\n") +
                                         "0 0 9 0\n0 0 9 10\n10 0 9 0\n0 10 9 0\n" + faces},
        {"colours.ply", Replace(header, "float z\n", "float z\nproperty uchar red\nproperty uchar green\n") +
                            Replace(points, "\n", " 1 nan\n") + faces},
        {"list-in-vertices.ply", Replace(header, "float z\n", "float z\nproperty list uchar float w\n") +
                                     Replace(points, "\n", " 2 5 6\n") + faces},
        {"more-of-faces.ply",
         Replace(header, "indices\n", "indices\nproperty int flags\n") + points + Replace(faces, "\n", " 7\n")},
        {"element-before.ply",
         Replace(header, "element vertex", "element camera 1\nproperty list uchar float b\nelement vertex") +
             "2 3 4\n" + points + faces},
        {"element-behind.ply",
         Replace(header, "end_header", "element edge 1\nproperty int a\nproperty int b\nend_header") + points + faces +
             "0 1\n"},
        {"faces-first.ply",
         "ply\nformat ascii 1.0\nelement face 4\nproperty list uchar int vertex_indices\nelement vertex 4\nproperty "
         "float x\nproperty float y\nproperty float z\nend_header\n" +
             faces + points},
        {"strips.ply",
         Replace(header, "element face 4\nproperty list uchar", "element tristrips 1\nproperty list int") + points +
             "9 0 2 1 -1 0 1 3 2 0\n",
         4, Volume},
        {"lines-as-faces.ply", Replace(Replace(text, "face 4", "face 5"), "3 0 2 1", "2 0 1\n3 0 2 1")},
    });
}

TEST_F(PlyReaderTest, ReadsBinaryFilesOfBothByteOrders)
{
    const auto header = [](const std::string& i_order) {
        return Replace(MakePly().substr(0, MakePly().find("0 0 0\n")), "ascii", "binary_" + i_order + "_endian");
    };
    // A coordinate whose first byte is a line end, as one of 128 files has it.
    float lineEnd = 0;
    std::memcpy(&lineEnd, "\x0A\x00\x00\x0A", 4);
    std::vector<Variant> variants;
    for (const std::string order : {"little", "big"}) {
        const bool isBig = order == "big";
        const auto name = [&](const std::string& i_rest) {
            return order + "-" + i_rest + ".ply";
        };
        const auto colours = Replace(header(order), "float z\n", "float z\nproperty uchar red\nproperty uchar green\n");
        const auto more = Replace(colours, "indices\n", "indices\nproperty list uchar uchar more\n");
        variants.insert(variants.end(),
                        {{name("plain"), MakeBinary(isBig, header(order))},
                         {name("crlf-header"), MakeBinary(isBig, Replace(header(order), "\n", "\r\n"))},
                         {name("more-properties"), MakeBinary(isBig, more, "\n\r", "\2xx")},
                         {name("begins-with-line-end"), MakeBinary(isBig, header(order), {}, {}, lineEnd)},
                         {name("more-behind"), MakeBinary(isBig, header(order)) + "trailer"},
                         Refused(name("cut"), MakeBinary(isBig, header(order)).substr(0, header(order).size() + 94),
                                 "it breaks off before the last of its elements")});
    }
    _Check(variants);
}

TEST_F(PlyReaderTest, RefusesWhatIsNoBodyWithTheTrueReason)
{
    const auto text = MakePly();
    const auto noProperties = Replace(text, "end_header", "element edge 400000000\nend_header");
    const auto edges = Replace(text, "end_header", "element edge 400000000\nproperty int a\nend_header");
    _Check({
        Refused("letter.ply", "Dear reader", "it is no PLY file: it does not begin with the word 'ply'"),
        Refused("no-end.ply", text.substr(0, text.find("end_header")), "its header has no end"),
        Refused("no-format.ply", Replace(text, "format ascii 1.0\n", ""), "its header names no format"),
        Refused("format.ply", Replace(text, "ascii", "EBCDIC"), "line 2: the format 'EBCDIC' is unknown"),
        Refused("type.ply", Replace(text, "float y", "quad y"), "line 5: 'quad' is no type"),
        Refused("count.ply", Replace(text, "vertex 4", "vertex four"), "line 3: 'four' is no count of elements"),
        Refused("cloud.ply", Replace(Replace(text, "element face", "element faces"), "vertex_indices", "x"),
                "it is a cloud of points: it announces no element 'face'"),
        Refused("flat.ply", Replace(text, "float z", "float w"), "its vertices have no coordinate 'z'"),
        Refused("many-edges.ply", edges,
                "it is cut off: it announces 400000000 of the element 'edge', and there is no room for them"),
        Refused("many-empty.ply", noProperties, "its element 'edge' has no properties"),
        Refused("many-vertices.ply", Replace(text, "vertex 4", "vertex 18446744073709551615"),
                "it is cut off: it announces 18446744073709551615 of the element 'vertex', and there is no room for "
                "them"),
        Refused("cut.ply", text.substr(0, text.size() - 10), "it breaks off before the last of its elements"),
        Refused("more.ply", text + "3 1 2 3\n",
                "line 18: '3' behind the last of the elements that the header announces"),
        Refused("index.ply", Replace(text, "3 1 2 3", "3 1 2 9"),
                "a face refers to the vertex 9, counted from 0, of 4"),
        Refused("negative.ply", Replace(text, "3 1 2 3", "3 1 2 -1"),
                "line 17: the index of a face's corner is no whole number from 0 on"),
        Refused("fraction.ply", Replace(text, "3 1 2 3", "3 1 2 0.5"),
                "line 17: the index of a face's corner is no whole number from 0 on"),
        Refused("nan.ply", Replace(text, "\n10 0 0", "\nnan 0 0"), "line 11: 'nan' is not a number"),
        Refused("long-list.ply", Replace(text, "3 1 2 3", "4000000000 1 2 3"),
                "it breaks off before the last of its elements"),
    });
}

} // namespace
