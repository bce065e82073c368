#include "services/ServiceFiles.h"

#include "buildprocessor/geometry/BuildVolumeCheck.h"
#include "buildprocessor/geometry/CollisionCheck.h"
#include "buildprocessor/machines/ProfileReader.h"

#include <cmath>
#include <numbers>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using Testing::GetFailure;
using Testing::MakeBox;
using Testing::MakeProfile;
using Testing::Replaced;

PartGeometry ToGeometry(const std::string& i_name, const std::vector<TavAM::Mesh>& i_meshes, double i_degrees = 0)
{
    PartGeometry part;
    part.name = i_name;
    const double angle = i_degrees * std::numbers::pi / 180;
    for (const auto& mesh : i_meshes) {
        const auto first = static_cast<std::uint32_t>(part.vertices.size());
        for (const auto& point : mesh.vertices) {
            part.vertices.push_back({point.x * std::cos(angle) - point.y * std::sin(angle),
                                     point.x * std::sin(angle) + point.y * std::cos(angle), point.z});
            part.box.Add(part.vertices.back());
        }
        for (auto triangle : mesh.triangles) {
            for (auto& index : triangle)
                index += first;
            part.triangles.push_back(triangle);
        }
    }
    return part;
}

TavAM::Mesh TurnedInsideOut(TavAM::Mesh i_mesh)
{
    for (auto& triangle : i_mesh.triangles)
        std::swap(triangle[1], triangle[2]);
    return i_mesh;
}

TEST(BuildVolume, ExactVerticesDecideAndEveryOffenderIsNamed)
{
    const auto square = ReadProfile(MakeProfile(), "square").profile;
    const auto circle = ReadProfile(Replaced(MakeProfile(), R"({"shape": "rectangle", "width": 100, "depth": 100})",
                                             R"({"shape": "circle", "diameter": 100})"),
                                    "circle")
                            .profile;
    const auto supporting =
        ReadProfile(Replaced(MakeProfile(), R"("perimeters": 2)", R"("support_material": true)"), "s").profile;
    struct Row
    {
        const MachineProfile& profile;
        TavAM::Mesh mesh;
        const char* refusal; ///< empty: fits
    };
    const Row rows[] = {
        {square, MakeBox(0, 0, 0, 100, 100, 50), ""},
        {square, MakeBox(-0.009F, 0, 0, 10, 10, 50.009F), ""},
        {square, MakeBox(-0.02F, 0, 0, 10, 10, 10), "leave"},
        {square, MakeBox(0, 90.02F, 0, 10, 10, 10), "leave"},
        {square, MakeBox(0, 0, -0.02F, 10, 10, 10), "leave"},
        {square, MakeBox(0, 0, 0, 10, 10, 50.02F), "leave"},
        {square, MakeBox(0, 0, 5, 10, 10, 10), "float"},
        {supporting, MakeBox(0, 0, 5, 10, 10, 10), ""},
        // The corners of this box are on the circle's rectangle but not on the circle.
        {circle, MakeBox(-45, -45, 0, 90, 90, 10), "leave"},
        {circle, MakeBox(-35, -35, 0, 70, 70, 10), ""},
    };
    for (const Row& row : rows) {
        const auto failure = GetFailure([&] { CheckBuildVolume(row.profile, {ToGeometry("bracket", {row.mesh})}); });
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(failure.code, *row.refusal ? ErrorCode::FileError : ErrorCode::None);
        EXPECT_NE(failure.text.find(row.refusal), std::string::npos) << failure.text;
    }
}

TEST(Collision, SurfacesAndContainmentDecideNotBoxes)
{
    const auto box = [](float i_x, float i_y, float i_z, float i_size) {
        return MakeBox(i_x, i_y, i_z, i_size, i_size, i_size);
    };
    const std::vector corner{MakeBox(0, 0, 0, 30, 5, 5), MakeBox(0, 5, 0, 5, 25, 5)};
    const std::vector hollow{box(0, 0, 0, 30), TurnedInsideOut(box(5, 5, 5, 20))};
    struct Row
    {
        const char* what;
        PartGeometry a;
        PartGeometry b;
        bool collides;
    };
    const Row rows[] = {
        {"same place", ToGeometry("a", {box(0, 0, 0, 10)}), ToGeometry("b", {box(0, 0, 0, 10)}), true},
        {"same place, inside out", ToGeometry("a", {box(0, 0, 0, 10)}),
         ToGeometry("b", {TurnedInsideOut(box(0, 0, 0, 10))}), true},
        {"shifted along an edge", ToGeometry("a", {box(0, 0, 0, 10)}), ToGeometry("b", {box(5, 0, 0, 10)}), true},
        {"flush bars across", ToGeometry("a", {MakeBox(-50, 0, 0, 100, 10, 10)}),
         ToGeometry("b", {MakeBox(0, -50, 0, 10, 100, 10)}), true},
        {"corner into corner", ToGeometry("a", {box(0, 0, 0, 10)}), ToGeometry("b", {box(9.9F, 9.9F, 9.9F, 10)}), true},
        {"one inside the other", ToGeometry("a", {box(0, 0, 0, 30)}), ToGeometry("b", {box(10, 10, 10, 5)}), true},
        {"second body inside", ToGeometry("a", {box(0, 0, 0, 30)}),
         ToGeometry("b", {box(60, 0, 0, 5), box(10, 10, 10, 5)}), true},
        {"touching faces", ToGeometry("a", {box(0, 0, 0, 10)}), ToGeometry("b", {box(10, 0, 0, 10)}), false},
        {"standing on it", ToGeometry("a", {box(0, 0, 0, 10)}), ToGeometry("b", {box(2, 2, 10, 5)}), false},
        {"in the corner of an L", ToGeometry("a", corner), ToGeometry("b", {box(10, 10, 0, 10)}), false},
        {"in a hollow", ToGeometry("a", hollow), ToGeometry("b", {box(10, 10, 10, 5)}), false},
        {"in the wall of a hollow", ToGeometry("a", hollow), ToGeometry("b", {box(1, 1, 1, 3)}), true},
        {"beside a diamond, into it", ToGeometry("a", {box(0, 0, 0, 10)}, 45),
         ToGeometry("b", {MakeBox(5, 5, 0, 4, 3, 4)}), true},
        {"beside a diamond, in its box only", ToGeometry("a", {box(0, 0, 0, 10)}, 45),
         ToGeometry("b", {MakeBox(5, 0, 0, 2, 1, 4)}), false},
    };
    for (const Row& row : rows) {
        for (const auto& parts : {std::vector{row.a, row.b}, std::vector{row.b, row.a}}) {
            const auto failure = GetFailure([&] { CheckCollisions(parts, {}); });
            EXPECT_EQ(failure.code, row.collides ? ErrorCode::FileError : ErrorCode::None) << row.what << failure.text;
        }
    }
}

} // namespace
