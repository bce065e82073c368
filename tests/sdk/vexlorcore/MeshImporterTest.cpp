#include "vexlorcore/MeshImporter.h"

#include "support/Files.h"
#include "tavam/FileError.h"

#include <gmock/gmock.h>

#include <QTemporaryDir>

#include <zip.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using VexlorCore::ImportMeshFile;
using Entries = std::vector<std::pair<std::string, std::string>>;

/// Corners of a tetrahedron of 1000/6 mm³, outward faces.
constexpr float Corners[4][3] = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
constexpr int Faces[4][3] = {{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}};
constexpr double Volume = 1000.0 / 6;

std::string MakeBinaryStl()
{
    std::string bytes(80, ' ');
    const std::uint32_t count = 4;
    bytes.append(reinterpret_cast<const char*>(&count), 4);
    for (const auto& face : Faces) {
        bytes.append(12, '\0');
        for (const int corner : face)
            bytes.append(reinterpret_cast<const char*>(Corners[corner]), 12);
        bytes.append(2, '\0');
    }
    return bytes;
}

std::string MakeTextStl(const std::string& i_name)
{
    std::string text = "solid " + i_name + "\n";
    for (const auto& face : Faces) {
        text += "facet normal 0 0 0\nouter loop\n";
        for (const int corner : face)
            text += "vertex " + std::to_string(Corners[corner][0]) + " " + std::to_string(Corners[corner][1]) + " " +
                    std::to_string(Corners[corner][2]) + "\n";
        text += "endloop\nendfacet\n";
    }
    return text + "endsolid " + i_name + "\n";
}

std::string MakeObj()
{
    return "o Links\nv 0 0 0\nv 10 0 0\nv 0 10 0\nv 0 0 10\nf 1 3 2\nf 1 2 4\nf 1 4 3\nf 2 3 4\n"
           "o Rechts\nv 20 0 0\nv 30 0 0\nv 20 10 0\nv 20 0 10\nf 5 7 6\nf 5 6 8\nf 5 8 7\nf 6 7 8\n";
}

std::string MakePly()
{
    return "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
           "element face 4\nproperty list uchar int vertex_indices\nend_header\n"
           "0 0 0\n10 0 0\n0 10 0\n0 0 10\n3 0 2 1\n3 0 1 3\n3 0 3 2\n3 1 2 3\n";
}

std::string MakeBinaryPly()
{
    std::string bytes =
        "ply\nformat binary_little_endian 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
        "element face 4\nproperty list uchar int vertex_indices\nend_header\n";
    for (const auto& corner : Corners)
        bytes.append(reinterpret_cast<const char*>(corner), 12);
    for (const auto& face : Faces)
        bytes.append(1, '\3').append(reinterpret_cast<const char*>(face), 12);
    return bytes;
}

std::string MakeModel(const std::string& i_unit, const std::string& i_items, const std::string& i_more_objects = {})
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><model unit=\"" + i_unit +
           "\" xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"><resources>"
           "<object id=\"1\" name=\"Halter\" type=\"model\"><mesh><vertices>"
           "<vertex x=\"0\" y=\"0\" z=\"0\"/><vertex x=\"10\" y=\"0\" z=\"0\"/>"
           "<vertex x=\"0\" y=\"10\" z=\"0\"/><vertex x=\"0\" y=\"0\" z=\"10\"/></vertices><triangles>"
           "<triangle v1=\"0\" v2=\"2\" v3=\"1\"/><triangle v1=\"0\" v2=\"1\" v3=\"3\"/>"
           "<triangle v1=\"0\" v2=\"3\" v3=\"2\"/><triangle v1=\"1\" v2=\"2\" v3=\"3\"/></triangles></mesh></object>" +
           i_more_objects + "</resources><build>" + i_items + "</build></model>";
}

class MeshImporterTest : public ::testing::Test
{
protected:
    std::string _Path(const std::string& i_name) const
    {
        return _dir.filePath(QString::fromStdString(i_name)).toStdString();
    }

    std::string _Write(const std::string& i_name, const std::string& i_bytes) const
    {
        TestSupport::WriteFile(_Path(i_name), i_bytes);
        return _Path(i_name);
    }

    std::string _WritePackage(const std::string& i_name, Entries i_entries) const
    {
        i_entries.insert(
            i_entries.begin(),
            {{"[Content_Types].xml",
              "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"><Default "
              "Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
              "<Default Extension=\"model\" "
              "ContentType=\"application/vnd.ms-package.3dmanufacturing-3dmodel+xml\"/></Types>"},
             {"_rels/.rels",
              "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
              "Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
              "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>"}});
        auto* archive = zip_open(_Path(i_name).c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
        for (const auto& [name, text] : i_entries)
            zip_file_add(archive, name.c_str(), zip_source_buffer(archive, text.data(), text.size(), 0), 0);
        EXPECT_EQ(zip_close(archive), 0);
        return _Path(i_name);
    }

    static void _ExpectRefused(const std::string& i_path, const std::string& i_reason)
    {
        EXPECT_THAT([&] { ImportMeshFile(i_path); },
                    ::testing::ThrowsMessage<TavAM::FileError>(AllOf(HasSubstr(i_path), HasSubstr(i_reason))));
    }

    static double _GetVolume(const TavAM::Part& i_part)
    {
        return TavAM::GetVolume(*i_part.GetRepresentation().GetMesh(), i_part.GetPlacement());
    }

    QTemporaryDir _dir;
};

TEST_F(MeshImporterTest, ReadsTheSameBodyFromEveryFormat)
{
    const struct
    {
        std::string path;
        std::vector<std::wstring> names;
    } rows[] = {
        {_Write("binary.stl", MakeBinaryStl()), {L"binary"}},
        {_Write("NoExtensionNeeded", MakeBinaryStl()), {L"NoExtensionNeeded"}},
        {_Write("text.STL", MakeTextStl("Winkel")), {L"Winkel"}},
        {_Write("two.obj", MakeObj()), {L"Links", L"Rechts"}},
        {_Write("body.ply", MakePly()), {L"body"}},
        {_Write("binary.ply", MakeBinaryPly()), {L"binary"}},
        {_WritePackage("package.3mf", {{"3D/3dmodel.model", MakeModel("millimeter", "<item objectid=\"1\"/>")}}),
         {L"Halter"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        const auto parts = ImportMeshFile(row.path);
        std::vector<std::wstring> names;
        for (const auto& part : parts) {
            names.push_back(part.GetName());
            const auto& mesh = *part.GetRepresentation().GetMesh();
            EXPECT_EQ(mesh.vertices.size(), 4U);
            EXPECT_EQ(mesh.triangles.size(), 4U);
            EXPECT_NEAR(_GetVolume(part), Volume, 1e-3);
        }
        EXPECT_EQ(names, row.names);
    }
}

TEST_F(MeshImporterTest, BringsPackagesToMillimetresAndToTheirPlaces)
{
    // The second object mirrors the first and stands 3 inches away.
    const auto model =
        MakeModel("inch", "<item objectid=\"1\"/><item objectid=\"2\" transform=\"1 0 0 0 1 0 0 0 1 3 0 0\"/>",
                  "<object id=\"2\" type=\"model\"><components><component objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 "
                  "-1 0 0 0\"/></components></object>");
    const auto parts = ImportMeshFile(_WritePackage("inch.3mf", {{"3D/3dmodel.model", model}}));
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_NEAR(parts[0].GetBoundingBox().max.x, 254, 1e-3);
    EXPECT_NEAR(parts[1].GetBoundingBox().min.x, 76.2, 1e-3);
    EXPECT_NEAR(parts[1].GetBoundingBox().min.z, -254, 1e-3);
    for (const auto& part : parts)
        EXPECT_NEAR(_GetVolume(part), Volume * std::pow(25.4, 3), 10);
    _ExpectRefused(_WritePackage("cubit.3mf", {{"3D/3dmodel.model", MakeModel("cubit", "<item objectid=\"1\"/>")}}),
                   "unit 'cubit'");
}

TEST_F(MeshImporterTest, RefusesDamagedFilesWithNameAndReason)
{
    const auto stl = MakeBinaryStl();
    auto flipped = stl;
    flipped[81] = '\x40';
    auto withNan = stl;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::memcpy(&withNan[84 + 12], &nan, 4);
    auto farAway = stl;
    const float infinite = std::numeric_limits<float>::infinity();
    std::memcpy(&farAway[84 + 12], &infinite, 4);
    const auto text = MakeTextStl("x");
    auto withFewerFaces = MakePly();
    withFewerFaces.resize(withFewerFaces.size() - 16);
    auto withBadIndex = MakePly();
    withBadIndex.replace(withBadIndex.size() - 2, 1, "9");

    const struct
    {
        std::string path;
        std::string reason;
    } rows[] = {
        {_Path("missing.stl"), "does not exist"},
        {_dir.path().toStdString(), "it is not a file"},
        {_Write("empty.stl", ""), "it is empty"},
        {_Write("letter.txt", "Dear reader"), "not an STL, 3MF, OBJ or PLY file"},
        {_Write("truncated.stl", stl.substr(0, 150)), "announces 4 triangles and holds 1"},
        {_Write("flipped.stl", flipped), "announces 16388 triangles"},
        {_Write("nothing.stl", std::string(84, '\0')), "no triangle"},
        {_Write("nan.stl", withNan), "not a number"},
        {_Write("infinite.stl", farAway), ""},
        {_Write("cut.stl", text.substr(0, text.size() / 2)), "breaks off"},
        {_Write("points.obj", "v 0 0 0\nv 1 0 0\n"), ""},
        {_Write("index.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n"), ""},
        {_Write("nan.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"), ""},
        {_Write("cut.ply", withFewerFaces), ""},
        {_Write("cutbinary.ply", MakeBinaryPly().substr(0, MakeBinaryPly().size() - 8)), ""},
        {_Write("index.ply", withBadIndex), ""},
        {_Write("many.ply", "ply\nformat ascii 1.0\nelement vertex 4000000000\nelement face 1\nend_header\n"),
         "more than it holds"},
        {_Write("damaged.3mf", "PK\x03\x04 and nothing else"), "damaged package"},
    };
    for (const auto& row : rows)
        _ExpectRefused(row.path, row.reason);
}

TEST_F(MeshImporterTest, RefusesHostilePackages)
{
    const auto good = MakeModel("millimeter", "<item objectid=\"1\"/>");
    const auto object = [](int i_id, const std::string& i_components) {
        return "<object id=\"" + std::to_string(i_id) + "\" type=\"model\"><components>" + i_components +
               "</components></object>";
    };
    std::string doubling;
    for (int i = 2; i < 30; ++i) {
        const auto component = "<component objectid=\"" + std::to_string(i - 1) + "\"/>";
        doubling += object(i, component + component);
    }
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<a" + std::to_string(i * 7919) + ">";
    const std::string bomb = "<model unit=\"millimeter\">" + std::string(20'000'000, ' ') + "</model>";

    const struct
    {
        const char* name;
        Entries entries;
        std::string reason;
    } rows[] = {
        {"bomb.3mf", {{"3D/3dmodel.model", good}, {"Metadata/thumbnail.png", bomb}}, "100 times"},
        {"climbing.3mf", {{"3D/3dmodel.model", good}, {"3D/../../x", "x"}}, "forbidden name"},
        {"absolute.3mf", {{"3D/3dmodel.model", good}, {"/etc/x", "x"}}, "forbidden name"},
        {"deep.3mf", {{"3D/3dmodel.model", deep}}, "nested too deep"},
        {"doctype.3mf", {{"3D/3dmodel.model", "<!DOCTYPE model [<!ENTITY a \"b\">]>" + good}}, "DOCTYPE"},
        {"cut.3mf", {{"3D/3dmodel.model", good.substr(0, good.size() / 2)}}, "no XML"},
        {"circle.3mf",
         {{"3D/3dmodel.model",
           MakeModel("millimeter", "<item objectid=\"2\"/>", object(2, "<component objectid=\"2\"/>"))}},
         "beyond measure"},
        {"doubling.3mf",
         {{"3D/3dmodel.model", MakeModel("millimeter", "<item objectid=\"29\"/>", doubling)}},
         "beyond measure"},
        {"absent.3mf", {{"3D/3dmodel.model", MakeModel("millimeter", "<item objectid=\"7\"/>")}}, "does not hold"},
        {"nobuild.3mf", {{"3D/3dmodel.model", MakeModel("millimeter", "")}}, ""},
        {"nomodel.3mf", {}, "no model"},
    };
    for (const auto& row : rows)
        _ExpectRefused(_WritePackage(row.name, row.entries), row.reason);
}

TEST_F(MeshImporterTest, SurvivesCutsAndFlippedBitsAnywhere)
{
    const auto package =
        _WritePackage("e.3mf", {{"3D/3dmodel.model", MakeModel("millimeter", "<item objectid=\"1\"/>")}});
    const Entries all = {{"a.stl", MakeBinaryStl()},
                         {"b.stl", MakeTextStl("x")},
                         {"c.obj", MakeObj()},
                         {"d.ply", MakePly()},
                         {"f.3mf", TestSupport::ReadFile(package)}};

    int refused = 0;
    const auto import = [&](const std::string& i_name, const std::string& i_bytes) {
        // Whatever comes of it is sound, or a refusal in one sentence.
        try {
            for (const auto& part : ImportMeshFile(_Write(i_name, i_bytes)))
                EXPECT_EQ(TavAM::FindMeshDefect(*part.GetRepresentation().GetMesh()), "");
        } catch (const TavAM::FileError& error) {
            EXPECT_THAT(error.what(), HasSubstr(i_name));
            ++refused;
        }
    };
    for (const auto& [name, bytes] : all) {
        for (std::size_t i = 0; i < bytes.size(); i += 1 + bytes.size() / 12) {
            import(name, bytes.substr(0, i));
            auto flipped = bytes;
            flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
            import(name, flipped);
        }
    }
    EXPECT_GT(refused, 40);
}

} // namespace
