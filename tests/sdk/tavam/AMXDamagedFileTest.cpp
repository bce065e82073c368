#include "sdk/tavam/PlatformSamples.h"
#include "support/Texts.h"
#include "support/ZipPackage.h"

namespace {

using namespace TavAM;
using TestSupport::PackageEntry;
using TestSupport::Repeat;
using TestSupport::WritePackage;

std::string ReplaceAll(std::string i_text, const std::string& i_from, const std::string& i_to)
{
    for (std::size_t at = i_text.find(i_from); at != std::string::npos; at = i_text.find(i_from, at + i_to.size()))
        i_text.replace(at, i_from.size(), i_to);
    return i_text;
}

template <class Number>
std::string Change(std::string i_bytes, std::size_t i_offset, Number i_number)
{
    i_bytes.replace(i_offset, sizeof(i_number), reinterpret_cast<const char*>(&i_number), sizeof(i_number));
    return i_bytes;
}

const std::string mgp_shape = "<Shape kind=\"mesh\" entry=\"meshes/0.mesh\"/>";
const std::string mgp_document =
    "<PlatformFile xmlns=\"https://www.vexlor.example/AM/PlatformFile/2026/11\" version=\"1\"><Platform name=\"\">"
    "<Properties><Property name=\"a\" value=\"1\"/></Properties><Machine name=\"\" manufacturer=\"\" "
    "modelId=\"\"/><Parts>"
    "<Part name=\"part\" revisionId=\"01234567-89ab-cdef-0123-456789abcdef\" placement=\"1 0 0 0 0 1 0 0 0 0 1 0\" "
    "hasSupports=\"false\"><Strategies><Strategy role=\"part\" id=\"1\"/></Strategies>" +
    mgp_shape + "</Part></Parts></Platform></PlatformFile>";

/// A tetrahedron: 16 bytes of header, 4 vertices, 4 triangles.
std::string MakeMeshEntry()
{
    const auto mesh = MakeTetrahedron(1);
    std::string bytes("TAVM\x01\0\0\0\x04\0\0\0\x04\0\0\0", 16);
    bytes.append(reinterpret_cast<const char*>(mesh->vertices.data()), 48);
    bytes.append(reinterpret_cast<const char*>(mesh->triangles.data()), 48);
    return bytes;
}

class AMXDamagedFileTest : public testing::Test
{
protected:
    /// Empty when the file could be read.
    std::string GetReadError()
    {
        Database database;
        AMXFileReader reader;
        const bool isRead = reader.ReadFile(_path, database);
        EXPECT_EQ(isRead, reader.GetError().empty());
        EXPECT_EQ(database.GetNumPlatforms(), isRead ? 1U : 0U);
        if (!isRead) {
            EXPECT_THAT(reader.GetError(), HasSubstr(_path.string()));
        }
        _platform = isRead ? database.GetPlatform(0) : nullptr;
        return reader.GetError();
    }

    std::string GetErrorOf(const std::vector<PackageEntry>& i_entries)
    {
        WritePackage(_path, i_entries);
        return GetReadError();
    }

    TestFolder _folder;
    const std::filesystem::path _path = _folder.path / "x.TavAMX";
    std::shared_ptr<Platform> _platform;
};

TEST_F(AMXDamagedFileTest, ADocumentThatBreaksTheFormatIsRefused)
{
    const std::string mesh = MakeMeshEntry();
    ASSERT_EQ(GetErrorOf({{"platform.xml", mgp_document}, {"meshes/0.mesh", mesh}, {"other/thing", "x"}}), "");
    const auto composed = [](std::size_t i_depth) {
        return Repeat("<Shape kind=\"composed\">", i_depth) + Repeat("</Shape>", i_depth);
    };
    const struct
    {
        std::string from;
        std::string to;
        std::string error;
    } rows[] = {
        {"version=\"1\"", "version=\"2\"", "format version 2, written by a newer program"},
        {"version=\"1\"", "version=\"1x\"", "is no number"},
        {"version=\"1\"", "", "'version' is missing"},
        {"PlatformFile", "Other", "no platform file"},
        {"2026/11", "2025/11", "no platform file"},
        {"<PlatformFile", "<!DOCTYPE x><PlatformFile", "DOCTYPE"},
        {"</Platform>", "", "mismatched tag"},
        {"name=\"part\"", "", "'name' is missing"},
        {"name=\"part\"", "name=\"\\\"", "backslash"},
        {"name=\"part\"", "name=\"\\{zz}\"", "backslash"},
        {"89ab-", "89ab_", "'revisionId' is no id"},
        {"01234567", "{0123456", "'revisionId' is no id"},
        {"\"false\"", "\"no\"", "'hasSupports'"},
        {"1 0 0 0 0", "1 0 0 0 nan", "twelve numbers"},
        {"1 0 0 0 0", "1 0 0 0 1e999", "twelve numbers"},
        {"1 0 0 0 0", "1 0 0 0", "twelve numbers"},
        {"1 0 0 0 0", "1 0 0 0 0 0", "twelve numbers"},
        {"1 0 0 0 0", "1,0 0 0 0", "twelve numbers"},
        {"<Property name=\"a\" value=\"1\"/>", "<Property name=\"a\"/><Property name=\"a\"/>", "appears twice"},
        {"<Properties>", "<Properties/><Properties>", "appears twice"},
        {"<Machine ", "<Machine name='' manufacturer='' modelId=''/><Machine ", "appears twice"},
        {"<Strategies>", "<Strategies/><Strategies>", "appears twice"},
        {"<Strategy ", "<Strategy role='part' id=''/><Strategy ", "two strategies"},
        {mgp_shape, mgp_shape + mgp_shape, "appears twice"},
        {mgp_shape, "", "no shape"},
        {"\"mesh\"", "\"voxels\"", "unknown kind 'voxels'"},
        {"meshes/0", "meshes/1", "'meshes/1.mesh': is missing"},
        {"kind=\"mesh\" entry=\"meshes/0.mesh\"", "kind=\"brep\" entry=\"x\"", "'x': is missing"},
        {mgp_shape, composed(33), "deeper than 32"},
        {mgp_shape, composed(100000), "deeper than"},
        {mgp_shape, "<Shape kind=\"composed\">" + Repeat("<Shape kind=\"composed\"/>", 100000) + "</Shape>",
         "more than 100000 shapes"},
        {mgp_shape, "<x>" + Repeat("<y>", 100000), "deeper than 64"},
    };
    for (const auto& row : rows) {
        const std::string document = ReplaceAll(mgp_document, row.from, row.to);
        EXPECT_THAT(GetErrorOf({{"platform.xml", document}, {"meshes/0.mesh", mesh}}), HasSubstr(row.error));
    }
    EXPECT_EQ(GetErrorOf({{"platform.xml", ReplaceAll(mgp_document, mgp_shape, composed(32))}}), "");
    EXPECT_THAT(GetErrorOf({{"other.xml", mgp_document}}), HasSubstr("'platform.xml': is missing"));
}

TEST_F(AMXDamagedFileTest, AMeshThatCannotBeIsRefused)
{
    const std::string mesh = MakeMeshEntry();
    const struct
    {
        std::string bytes;
        std::string error;
    } rows[] = {
        {"", "is no mesh"},
        {mesh.substr(0, 15), "is no mesh"},
        {Change(mesh, 0, 'X'), "is no mesh"},
        {Change(mesh, 4, 2U), "unknown format 2"},
        {Change(mesh, 8, 5U), "counts"},
        {Change(mesh, 8, 0xFFFFFFFFU), "counts"},
        {Change(mesh, 12, 0xFFFFFFFFU), "counts"},
        {mesh.substr(0, mesh.size() - 1), "counts"},
        {mesh + "x", "counts"},
        {Change(mesh, 16, std::nanf("")), "vertex 0 are not finite"},
        {Change(mesh, 24, std::nanf("")), "vertex 0 are not finite"},
        {Change(mesh, 44, -INFINITY), "vertex 2 are not finite"},
        {Change(mesh, 60, 1.1e6F), "vertex 3 are not finite"},
        {Change(mesh, 108, 4U), "vertex 4 of 4"},
        {Change(Change(mesh, 8, 8U), 12, 0U), "no triangle"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(GetErrorOf({{"platform.xml", mgp_document}, {"meshes/0.mesh", row.bytes}}),
                    AllOf(HasSubstr("meshes/0.mesh"), HasSubstr(row.error)));
    }
}

TEST_F(AMXDamagedFileTest, APackageThatTricksIsRefused)
{
    const std::string padding = "<Shape kind='brep' entry='x'/>";
    const PackageEntry user{"platform.xml", ReplaceAll(mgp_document, mgp_shape, padding)};
    EXPECT_THAT(GetErrorOf({user, {"x", std::string(20000000, '\0'), true}}), HasSubstr("packed more than 100 : 1"));
    // Each use unpacks an entry anew, so that together they could do what one may not.
    const std::string uses = "<Shape kind='composed'>" + Repeat(padding, 1000) + "</Shape>";
    const PackageEntry manyUses{"platform.xml", ReplaceAll(mgp_document, mgp_shape, uses)};
    EXPECT_THAT(GetErrorOf({manyUses, {"x", std::string(90000, 'x'), true}}), HasSubstr("packed more than 100 : 1"));
    EXPECT_THAT(GetErrorOf({{"platform.xml", std::string((std::size_t{64} << 20U) + 1, ' ')}}),
                HasSubstr("longer than 67108864 bytes"));
}

TEST_F(AMXDamagedFileTest, WhatIsNoPackageIsRefused)
{
    EXPECT_THAT(GetReadError(), HasSubstr("No such file"));
    for (const std::string& bytes : {std::string(), std::string("text"), std::string(100000, 'P')}) {
        WriteAnew(_path, bytes);
        EXPECT_THAT(GetReadError(), HasSubstr("no sound zip package"));
    }
    std::filesystem::remove(_path);
    std::filesystem::create_directory(_path);
    EXPECT_THAT(GetReadError(), HasSubstr("no regular file"));
}

TEST_F(AMXDamagedFileTest, CutOrFlippedItFailsOrIsTheSame)
{
    const Platform original = MakeRichPlatform();
    AMXFileWriter().WriteFile(_path, original);
    const std::string sound = ReadFile(_path);
    for (std::size_t size = 0; size < sound.size(); ++size) {
        WriteAnew(_path, sound.substr(0, size));
        ASSERT_NE(GetReadError(), "") << size;
    }
    std::size_t refused = 0;
    for (std::size_t offset = 0; offset < sound.size(); ++offset) {
        for (const char mask : {'\x01', '\x80', '\xff'}) {
            std::string damaged = sound;
            damaged[offset] = static_cast<char>(damaged[offset] ^ mask);
            WriteAnew(_path, damaged);
            if (GetReadError().empty())
                ExpectEqual(original, *_platform);
            else
                ++refused;
            ASSERT_FALSE(HasFailure()) << offset;
        }
    }
    EXPECT_GT(refused, sound.size());
}

} // namespace
