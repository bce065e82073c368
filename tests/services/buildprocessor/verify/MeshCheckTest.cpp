#include "services/ServiceFiles.h"

#include "buildprocessor/verify/MeshCheck.h"
#include "buildprocessor/verify/MeshRepair.h"
#include "buildprocessor/verify/PartMeshes.h"

#include <cmath>
#include <ctime>
#include <numbers>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using TavAM::Mesh;
using Testing::GetFailure;
using Testing::MakeBox;
using Testing::MakePart;
using Testing::ToRepresentation;

Mesh Joined(Mesh i_first, const Mesh& i_second)
{
    const auto first = static_cast<std::uint32_t>(i_first.vertices.size());
    i_first.vertices.insert(i_first.vertices.end(), i_second.vertices.begin(), i_second.vertices.end());
    for (auto triangle : i_second.triangles) {
        for (auto& index : triangle)
            index += first;
        i_first.triangles.push_back(triangle);
    }
    return i_first;
}

Mesh Turned(Mesh i_mesh, std::size_t i_from = 0, std::size_t i_count = 1'000)
{
    for (std::size_t index = i_from; index < std::min(i_from + i_count, i_mesh.triangles.size()); ++index)
        std::swap(i_mesh.triangles[index][1], i_mesh.triangles[index][2]);
    return i_mesh;
}

Mesh Without(Mesh i_mesh, std::vector<std::size_t> i_triangles)
{
    for (auto index = i_triangles.rbegin(); index != i_triangles.rend(); ++index)
        i_mesh.triangles.erase(i_mesh.triangles.begin() + static_cast<std::ptrdiff_t>(*index));
    return i_mesh;
}

/// Three vertices for each triangle, as an STL file has them.
Mesh Exploded(const Mesh& i_mesh)
{
    Mesh mesh;
    for (const auto& triangle : i_mesh.triangles) {
        const auto first = static_cast<std::uint32_t>(mesh.vertices.size());
        for (const auto vertex : triangle)
            mesh.vertices.push_back(i_mesh.vertices[vertex]);
        mesh.triangles.push_back({first, first + 1, first + 2});
    }
    return mesh;
}

/// A closed cylinder of i_rings bands; 2 i_sides (i_rings + 1) triangles.
Mesh MakeCylinder(std::uint32_t i_sides, std::uint32_t i_rings, float i_radius = 10, float i_height = 20)
{
    Mesh mesh;
    for (std::uint32_t ring = 0; ring <= i_rings; ++ring) {
        for (std::uint32_t side = 0; side < i_sides; ++side) {
            const double angle = 2 * std::numbers::pi * side / i_sides;
            mesh.vertices.push_back({i_radius * static_cast<float>(std::cos(angle)),
                                     i_radius * static_cast<float>(std::sin(angle)),
                                     i_height * static_cast<float>(ring) / static_cast<float>(i_rings)});
        }
    }
    const auto bottom = static_cast<std::uint32_t>(mesh.vertices.size());
    mesh.vertices.push_back({0, 0, 0});
    mesh.vertices.push_back({0, 0, i_height});
    for (std::uint32_t side = 0; side < i_sides; ++side) {
        const std::uint32_t next = (side + 1) % i_sides;
        for (std::uint32_t ring = 0; ring < i_rings; ++ring) {
            const std::uint32_t low = ring * i_sides;
            const std::uint32_t high = low + i_sides;
            mesh.triangles.push_back({low + side, low + next, high + next});
            mesh.triangles.push_back({low + side, high + next, high + side});
        }
        mesh.triangles.push_back({bottom, next, side});
        mesh.triangles.push_back({bottom + 1, i_rings * i_sides + side, i_rings * i_sides + next});
    }
    return mesh;
}

const Mesh Box = MakeBox(0, 0, 0, 20, 20, 20);

TEST(MeshCheck, TellsBodiesFromWhatLooksLikeThem)
{
    const Mesh small = MakeBox(5, 5, 5, 5, 5, 5);
    Mesh doubled = Box;
    doubled.triangles.push_back({0, 1, 1});
    struct Row
    {
        const char* what;
        Mesh mesh;
        std::size_t holes, openEdges, turnedEdges, turnedBodies;
        double volume;
    };
    const Row rows[] = {
        {"a box", Box, 0, 0, 0, 0, 8000},
        {"with a vertex for each corner", Exploded(Box), 0, 0, 0, 0, 8000},
        {"with a triangle that has no area", doubled, 0, 0, 0, 0, 8000},
        {"one triangle missing", Without(Box, {4}), 1, 3, 0, 0, 0},
        {"the same, exploded", Exploded(Without(Box, {4})), 1, 3, 0, 0, 0},
        {"two far from each other", Without(MakeCylinder(12, 3), {0, 50}), 2, 6, 0, 0, 0},
        {"a whole side", Without(Box, {2, 3}), 1, 4, 0, 0, 0},
        {"one triangle turned", Turned(Box, 4, 1), 0, 0, 3, 0, 0},
        {"inside out", Turned(Box), 0, 0, 0, 1, 8000},
        {"two bodies apart", Joined(Box, MakeBox(30, 0, 0, 5, 5, 5)), 0, 0, 0, 0, 8125},
        {"two that overlap", Joined(Box, MakeBox(10, 10, 10, 20, 20, 20)), 0, 0, 0, 0, 16000},
        {"two that touch in an edge", Exploded(Joined(Box, MakeBox(20, 20, 0, 20, 20, 20))), 0, 0, 0, 0, 16000},
        {"two that touch in a side", Exploded(Joined(Box, MakeBox(20, 0, 0, 20, 20, 20))), 0, 0, 0, 0, 16000},
        {"the same body twice", Exploded(Joined(Box, Box)), 0, 0, 0, 0, 16000},
        {"a hollow", Joined(Box, Turned(small)), 0, 0, 0, 0, 7875},
        {"a body in a hollow", Joined(Joined(Box, Turned(small)), MakeBox(6, 6, 6, 2, 2, 2)), 0, 0, 0, 0, 7883},
        {"all of that inside out", Turned(Joined(Box, Turned(small))), 0, 0, 0, 2, 7875},
        {"one of two inside out", Joined(Box, Turned(MakeBox(30, 0, 0, 5, 5, 5))), 0, 0, 0, 1, 8125},
        {"a sheet", Without(Box, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), 1, 4, 0, 0, 0},
    };
    for (const Row& row : rows) {
        const MeshFindings findings = CheckMesh(row.mesh, {});
        EXPECT_EQ(findings.holes, row.holes) << row.what;
        EXPECT_EQ(findings.openEdges, row.openEdges) << row.what;
        EXPECT_EQ(findings.turnedEdges, row.turnedEdges) << row.what;
        EXPECT_EQ(findings.turnedBodies, row.turnedBodies) << row.what;
        EXPECT_NEAR(findings.volume, row.volume, 0.01) << row.what;
        const bool closed = row.openEdges + row.turnedEdges == 0;
        EXPECT_EQ(findings.IsSound(), closed && row.turnedBodies == 0) << row.what;
        if (!closed)
            continue;
        const MeshFindings right = CheckMesh(TurnBodiesRight(row.mesh, {}), {});
        EXPECT_TRUE(right.IsSound()) << row.what;
        EXPECT_NEAR(right.volume, row.volume, 0.01) << row.what;
    }
    EXPECT_TRUE(CheckMesh(MakeBox(0, 0, 0, 20, 20, 0), {}).IsFlat());
    EXPECT_FALSE(CheckMesh(MakeBox(0, 0, 0, 20, 20, 0.01F), {}).IsFlat());
}

TEST(MeshCheck, NamesTheLowestFaultWhateverTheOrderOfTheTriangles)
{
    Mesh mesh = Without(MakeCylinder(12, 3), {0, 50});
    const auto first = CheckMesh(mesh, {}).firstEdge;
    std::reverse(mesh.triangles.begin(), mesh.triangles.end());
    const auto again = CheckMesh(mesh, {}).firstEdge;
    EXPECT_EQ(first.from, again.from);
    EXPECT_EQ(first.to, again.to);
    EXPECT_EQ(first.from.z, 0);
}

TEST(MeshCheck, AMillionTrianglesTakeTimeByTheirNumber)
{
    const Mesh mesh = Exploded(MakeCylinder(1000, 499));
    ASSERT_EQ(mesh.triangles.size(), 1'000'000U);
    const std::clock_t start = std::clock();
    EXPECT_TRUE(CheckMesh(mesh, {}).IsSound());
    // Of the processor: a few seconds without optimisation, some more under sanitizers, hours if it went by the square.
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 60);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(GetFailure([&] { CheckMesh(mesh, stop.get_token()); }).code, ErrorCode::ProcessingAborted);
}

TEST(PartMeshes, AreMendedAndToldOrRefusedByName)
{
    ASSERT_TRUE(CanRepairMeshes()) << "the package admesh is missing";
    // A corner of a triangle moved by less than anybody sees, as files with few digits have it.
    Mesh torn = Exploded(Box);
    torn.vertices[3].x += 0.0001F;
    struct Row
    {
        const char* what;
        Mesh mesh;
        const char* told;
        double volume; ///< 0: refused
    };
    const Row rows[] = {
        {"a box", Box, "", 8000},
        {"a vertex for each corner", Exploded(Box), "", 8000},
        {"a triangle missing", Without(Box, {4}), "The mesh of 'bracket' had 1 hole; it was closed.", 8000},
        {"a side missing", Exploded(Without(Box, {2, 3})), "The mesh of 'bracket' had 1 hole; it was closed.", 8000},
        {"holes in a curved wall", Exploded(Without(MakeCylinder(48, 10), {20, 21, 100, 300})),
         "The mesh of 'bracket' had 4 holes; they were closed.", 6265},
        {"a lid missing", Without(MakeCylinder(12, 1, 10, 20), {3, 7, 11, 15, 19, 23, 27, 31, 35, 39, 43, 47}),
         "The mesh of 'bracket' had 1 hole; it was closed.", 6000},
        {"a torn seam", torn, "The mesh of 'bracket' had 1 hole; it was closed.", 8000},
        {"a triangle turned", Turned(Box, 4, 1),
         "The mesh of 'bracket' had triangles that faced inwards; they were turned.", 8000},
        {"inside out", Turned(Box), "The mesh of 'bracket' was inside out; it was turned right.", 8000},
        {"inside out with a hole", Turned(Without(Box, {4})), "The mesh of 'bracket' had 1 hole; it was closed.", 8000},
        {"a sheet", Without(Box, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}),
         "The mesh of 'bracket' is not closed: it has 1 hole with 4 open edges, the first between (5.00, 0.00, 20.00) "
         "and "
         "(25.00, 0.00, 20.00) mm, and could not be mended; close it in the program that it comes from.",
         0},
        {"a bowl", Without(Box, {2, 3, 4, 5, 6, 7}), "The mesh of 'bracket' is not closed", 0},
        {"flat", MakeBox(0, 0, 0, 20, 20, 0),
         "The mesh of 'bracket' encloses no volume: it is flat; give it a thickness.", 0},
    };
    for (const Row& row : rows) {
        TavAM::Platform platform;
        platform.GetParts().push_back(MakePart(L"good", ToRepresentation(Box)));
        platform.GetParts().push_back(MakePart(L"bracket", ToRepresentation(row.mesh)));
        platform.GetParts().back().SetPlacement(TavAM::Transform::Translation(5, 0, 0));
        std::vector<std::string> notes;
        const auto failure = GetFailure([&] { notes = MendParts(platform, {}); });
        if (row.volume == 0) {
            EXPECT_EQ(failure.code, ErrorCode::FileError) << row.what;
            EXPECT_TRUE(failure.text.starts_with(row.told)) << row.what << ": " << failure.text;
            continue;
        }
        EXPECT_EQ(failure.text, "") << row.what;
        EXPECT_EQ(notes, *row.told ? std::vector<std::string>{row.told} : std::vector<std::string>()) << row.what;
        EXPECT_EQ(*platform.GetParts()[0].GetRepresentation().GetMesh(), Box) << row.what;
        const auto& mended = *platform.GetParts()[1].GetRepresentation().GetMesh();
        EXPECT_TRUE(CheckMesh(mended, {}).IsSound()) << row.what;
        EXPECT_NEAR(CheckMesh(mended, {}).volume, row.volume, 1) << row.what;
        EXPECT_FALSE(CheckMesh(mended, {}).hasDoubles) << row.what;
        if (!*row.told)
            continue;
        TavAM::Platform again;
        again.GetParts().push_back(MakePart(L"bracket", ToRepresentation(row.mesh)));
        MendParts(again, {});
        EXPECT_EQ(*again.GetParts()[0].GetRepresentation().GetMesh(), mended) << row.what << " is mended the same way";
    }
}

TEST(PartMeshes, SeveralMeshesOfAPartAreLookedAtAsOne)
{
    // The front and the back half of a box as two open meshes, one of them placed and mirrored by its owner.
    const auto front = ToRepresentation(Without(Box, {6, 7}));
    auto back = front;
    back.SetPlacement({{1, 0, 0, 0, 0, -1, 0, 40, 0, 0, 1, 0}});
    TavAM::Platform platform;
    platform.GetParts().push_back(MakePart(L"", TavAM::Representation::FromMembers({front, back})));
    EXPECT_EQ(MendParts(platform, {}), std::vector<std::string>());
    platform.GetParts()[0].SetRepresentation(TavAM::Representation::FromMembers({front}));
    EXPECT_EQ(MendParts(platform, {}), std::vector<std::string>{"The mesh of 'part 1' had 1 hole; it was closed."});
}

} // namespace
