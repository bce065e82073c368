#include "sdk/tavam/PlatformSamples.h"
#include "tavam/FileError.h"

namespace {

using namespace TavAM;

std::string GetWriteError(const std::filesystem::path& i_path, const Platform& i_platform)
{
    try {
        AMXFileWriter().WriteFile(i_path, i_platform);
    } catch (const FileError& error) {
        return error.what();
    }
    return {};
}

/// Reads and expects one platform.
std::shared_ptr<Platform> ReadOne(const std::filesystem::path& i_path)
{
    AMXFileReader reader;
    Database database;
    EXPECT_TRUE(reader.ReadFile(i_path, database)) << reader.GetError();
    EXPECT_EQ(reader.GetError(), "");
    EXPECT_EQ(database.GetNumPlatforms(), 1U);
    return database.GetNumPlatforms() == 1 ? database.GetPlatform(0) : std::make_shared<Platform>();
}

Representation Nest(unsigned i_depth)
{
    Representation shape = Representation::FromMesh(MakeTetrahedron(1));
    for (unsigned depth = 1; depth < i_depth; ++depth) {
        std::vector<Representation> members(1, shape);
        shape = Representation::FromMembers(std::move(members));
        shape.SetPlacement(Transform::Translation(depth, 0, 0.1));
    }
    return shape;
}

TEST(AMXFileTest, EverythingSurvivesWritingAndReading)
{
    const TestFolder folder;
    const auto path = folder.path / "\u05d0 platform.TavAMX";
    const Platform rich = MakeRichPlatform();
    AMXFileWriter().WriteFile(path, rich);
    const auto read = ReadOne(path);
    ExpectEqual(rich, *read);
    // The mesh that two parts share is still shared.
    EXPECT_EQ(read->GetParts()[1].GetRepresentation().GetMesh(),
              read->GetParts()[0].GetRepresentation().GetMembers()[0].GetMesh());
    const std::string bytes = ReadFile(path);
    AMXFileWriter().WriteFile(path, *read);
    EXPECT_EQ(ReadFile(path), bytes) << "the same platform makes the same file";

    AMXFileWriter().WriteFile(path, Platform());
    ExpectEqual(Platform(), *ReadOne(path));
    AMXFileWriter().WriteFile(path, MakePlatform(Nest(32)));
    ExpectEqual(MakePlatform(Nest(32)), *ReadOne(path));
    EXPECT_THAT(TestSupport::GetFileNames(folder.path), ElementsAre(path.filename().string()));
}

TEST(AMXFileTest, WhatTheWriterTakesTheReaderTakes)
{
    const TestFolder folder;
    const auto path = folder.path / "x.TavAMX";
    // All of it packs a thousand times: mesh, definition, document.
    auto flat = std::make_shared<Mesh>();
    flat->vertices.resize(200000);
    flat->triangles.resize(200000);
    Platform platform = MakePlatform(Representation::FromMembers(
        {Representation::FromMesh(flat), Representation::FromBrep(std::string(3000000, 'x'))}));
    // The longest texts, each byte of which XML has to escape.
    for (const wchar_t* name : {L"1", L"2"})
        platform.GetAMXProperties().SetText(name, std::wstring(PersistentProperties::LargestText / 6, L'"'));
    const std::wstring longest(std::size_t{64} << 10U, L'"');
    platform.GetAMXProperties().SetText(longest, std::wstring(PersistentProperties::LargestText / 6, L'"'));
    platform.SetMachine(MachineParameters{longest, longest, longest, {}});
    AMXFileWriter().WriteFile(path, platform);
    ExpectEqual(platform, *ReadOne(path));
}

TEST(AMXFileTest, TheWriterRefusesWhatNoReaderTakes)
{
    const TestFolder folder;
    const auto path = folder.path / "x.TavAMX";
    WriteAnew(path, "old");
    const auto withDefect = [](const std::function<void(Mesh&)>& i_change) {
        const auto mesh = MakeTetrahedron(1);
        i_change(*mesh);
        return MakePlatform(Representation::FromMesh(mesh));
    };
    Platform placedNowhere = MakePlatform(Representation());
    placedNowhere.GetParts()[0].SetPlacement(Transform::Translation(0, std::numeric_limits<double>::infinity(), 0));
    Platform longName = MakePlatform(Representation());
    longName.GetParts()[0].GetAMXProperties().SetText(L"x",
                                                      std::wstring(PersistentProperties::LargestText / 6 + 1, L'"'));
    const auto large = MakeTetrahedron(1);
    large->triangles.resize(120'000, {0, 1, 2});
    Platform longText;
    for (int index = 0; index < 65; ++index)
        longText.GetAMXProperties().SetText(std::to_wstring(index), std::wstring(std::size_t{1} << 20U, L'x'));
    const struct
    {
        Platform platform;
        std::string error;
    } rows[] = {
        {withDefect([](Mesh& io_mesh) { io_mesh.triangles.clear(); }), "part 'part': its mesh cannot be used"},
        {withDefect([](Mesh& io_mesh) { io_mesh.triangles[1][2] = 4; }), "vertex 4 of 4"},
        {withDefect([](Mesh& io_mesh) { io_mesh.vertices[2].y = std::nanf(""); }), "vertex 2"},
        {MakePlatform(Nest(33)), "deeper than 32"},
        {placedNowhere, "placement is not twelve numbers"},
        {longName, "a value takes more than 7340032 bytes"},
        {longText, "more than 67108864 bytes"},
        {MakePlatform(Representation::FromMembers(std::vector<Representation>(10000, Representation::FromBrep("")))),
         "more than 10000 entries"},
        {MakePlatform(Representation::FromMembers(std::vector<Representation>(3000, Representation::FromMesh(large)))),
         "the meshes of all shapes together"},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(GetWriteError(path, row.platform), AllOf(HasSubstr(path.string()), HasSubstr(row.error)));
        EXPECT_EQ(ReadFile(path), "old");
        EXPECT_EQ(TestSupport::GetFileNames(folder.path).size(), 1U);
    }
}

TEST(AMXFileTest, WithoutAFolderNothingIsLostAndAReplacedFileKeepsItsMode)
{
    const TestFolder folder;
    const auto path = folder.path / "x.TavAMX";
    WriteAnew(path, "old");
    EXPECT_THAT(GetWriteError(path / "x.TavAMX", MakeRichPlatform()), HasSubstr("Not a directory"));
    EXPECT_THAT(GetWriteError(folder.path / "none" / "x", MakeRichPlatform()), HasSubstr("No such file"));
    EXPECT_THAT(GetWriteError(folder.path, MakeRichPlatform()), HasSubstr(folder.path.string()));
    EXPECT_EQ(ReadFile(path), "old");
    for (const auto mode : {std::filesystem::perms(0600), std::filesystem::perms(0644)}) {
        std::filesystem::permissions(path, mode);
        AMXFileWriter().WriteFile(path, Platform());
        EXPECT_EQ(std::filesystem::status(path).permissions(), mode);
    }
}

} // namespace
