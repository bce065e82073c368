#include "sdk/vexlorcore/meshimport/MeshVariants.h"

namespace {

using namespace MeshVariants;

class ObjReaderTest : public MeshVariantTest
{};

TEST_F(ObjReaderTest, ReadsFilesOfManyTools)
{
    const auto text = MakeObj();
    const auto faces = text.find("f ");
    const std::string points = text.substr(0, faces);
    const std::string cube = "v 0 0 0\nv 10 0 0\nv 10 10 0\nv 0 10 0\nv 0 0 10\nv 10 0 10\nv 10 10 10\nv 0 10 10\n"
                             "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    // An L: whoever fans its caps out from a corner fills the notch.
    const std::string angle = "v 0 0 0\nv 20 0 0\nv 20 10 0\nv 10 10 0\nv 10 20 0\nv 0 20 0\n"
                              "v 0 0 10\nv 20 0 10\nv 20 10 10\nv 10 10 10\nv 10 20 10\nv 0 20 10\n"
                              "f 3 2 1 6 5 4\nf 9 10 11 12 7 8\nf 1 2 8 7\nf 2 3 9 8\nf 3 4 10 9\nf 4 5 11 10\n"
                              "f 5 6 12 11\nf 6 1 7 12\n";
    _Check({
        {"plain.obj", text},
        {"crlf.obj", Replace(text, "\n", "\r\n")},
        {"cr.obj", Replace(text, "\n", "\r")},
        {"tabs.obj", Replace(text, " ", "\t")},
        {"trailing-spaces.obj", Replace(text, "\n", "  \n")},
        {"byte-order-mark.obj", "\xEF\xBB\xBF" + text},
        {"comments.obj", "# a tool\n#\n" + Replace(text, "\n", " # v 1 2 3\n")},
        {"exponents.obj", Replace(text, "10", "+1.0E+01")},
        {"decimal-commas.obj", Replace(text, "10 ", "10,0 ")},
        {"capital.obj", Replace(Replace(text, "v ", "V "), "f ", "F ")},
        {"weights.obj", Replace(text, " 0\n", " 0 1.0\n")},
        {"colours.obj", Replace(text, " 0\n", " 0 0.5 0.5 0.5\n")},
        {"texture-and-normals.obj",
         points + "vt 0 0\nvn 0 0 1\nf 1/1/1 3/1/1 2/1/1\nf 1//1 2//1 4//1\nf 1/1 4/1 3/1\nf 2 3 4\n"},
        {"negative-indices.obj", points + "f -4 -2 -3\nf -4 -3 -1\nf -4 -1 -2\nf -3 -2 -1\n"},
        {"faces-first.obj", text.substr(faces) + points},
        {"groups.obj", points + "g a\nf 1 3 2\nf 1 2 4\ng b\nf 1 4 3\nf 2 3 4\n"},
        {"materials.obj",
         "mtllib gone.mtl\n" + points + "usemtl red\ns 1\nf 1 3 2\nf 1 2 4\nusemtl blue\ns off\nf 1 4 3\nf 2 3 4\n"},
        {"lines-and-points.obj", text + "l 1 2 3\np 1\n"},
        {"continued-lines.obj", Replace(text, "f 1 3 2", "f 1 \\\n3\\\n 2")},
        {"no-last-line-end.obj", text.substr(0, text.size() - 1)},
        {"two-objects.obj",
         "o Links\n" + text +
             "o Rechts\nv 20 0 0\nv 30 0 0\nv 20 10 0\nv 20 0 10\nf 5 7 6\nf 5 6 8\nf 5 8 7\nf 6 7 8\n",
         8, 2 * Volume},
        {"quadrangles.obj", cube, 12, 1000},
        {"concave-polygons.obj", angle, 20, 3000},
        {"unused-vertices.obj", points + "v 900000 0 0\n" + text.substr(faces)},
        {"vertices-for-each-face.obj",
         "v 0 0 0\nv 0 10 0\nv 10 0 0\nf 1 2 3\nv 0 0 0\nv 10 0 0\nv 0 0 10\nf 4 5 6\n"
         "v 0 0 0\nv 0 0 10\nv 0 10 0\nf 7 8 9\nv 10 0 0\nv 0 10 0\nv 0 0 10\nf 10 11 12\n"},
    });
}

TEST_F(ObjReaderTest, RefusesWhatIsNoBodyWithTheTrueReason)
{
    const auto text = MakeObj();
    std::string large = text + "f";
    for (int i = 0; i < 10'001; ++i)
        large += " 1";
    _Check({
        Refused("letter.obj", "Dear reader,\nfor example, very short: not a mesh.\n",
                "it is a text without vertices and faces, so not of a mesh"),
        Refused("points.obj", "v 0 0 0\nv 1 0 0\n", "it holds no triangle"),
        Refused("binary.obj", MakeBinaryStl().substr(0, 120), "it is no OBJ file, because it is no text"),
        Refused("nan.obj", Replace(text, "v 10 0", "v nan 0"), "line 2: 'nan' is not a number"),
        Refused("missing-coordinate.obj", Replace(text, "v 10 0 0", "v 10 0"), "line 2: a coordinate is missing"),
        Refused("index-zero.obj", text + "f 0 1 2\n", "line 9: a face refers to vertex 0, which is not there"),
        Refused("index-beyond.obj", text + "f 1 2 9\n", "a face refers to the vertex 8, counted from 0, of 4"),
        Refused("negative-beyond.obj", text + "f -9 1 2\n", "line 9: a face refers to vertex -9, which is not there"),
        Refused("word.obj", text + "f 1 x 2\n", "line 9: 'x' is not the number of a vertex"),
        Refused("two-corners.obj", text + "f 1 2\n", "line 9: the face has fewer than three corners"),
        Refused("surface.obj", text + "surf 0 1 0 1 1 2 3 4\n",
                "line 9: curves and free-form surfaces are not read, only faces"),
        Refused("huge-polygon.obj", large, "it has a face of more than 10000 corners"),
    });
}

} // namespace
