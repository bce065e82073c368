#include "buildprocessor/AutomaticPlacement.h"

#include "buildprocessor/PlacementCheck.h"
#include "client/interface/CommunicationException.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <random>

namespace MachineService::BuildProcessor {

using TavAM::Transform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr double Slack = 0.005; // what the placement promises to keep a clearance to, mm

Bed Rectangle(double i_width, double i_depth)
{
    Bed bed;
    bed.outline = {{0, 0}, {i_width, 0}, {i_width, i_depth}, {0, i_depth}};
    return bed;
}

Bed Circle(double i_diameter)
{
    Bed bed;
    bed.shape = BedShape::Circle;
    bed.centre = {20, -10};
    bed.diameter = i_diameter;
    return bed;
}

/// A prism over a polygon that is a star around its first corner.
TavAM::Mesh Prism(const std::vector<std::pair<double, double>>& i_outline, double i_height)
{
    TavAM::Mesh mesh;
    const auto count = static_cast<std::uint32_t>(i_outline.size());
    for (const double z : {0.0, i_height}) {
        for (const auto& [x, y] : i_outline)
            mesh.vertices.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    }
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::uint32_t next = (index + 1) % count;
        mesh.triangles.push_back({index, next, count + next});
        mesh.triangles.push_back({index, count + next, count + index});
        if (index > 0 && next > 0) {
            mesh.triangles.push_back({0, next, index});
            mesh.triangles.push_back({count, count + index, count + next});
        }
    }
    return mesh;
}

TavAM::Mesh Box(double i_width, double i_depth, double i_height)
{
    return Prism({{0, 0}, {i_width, 0}, {i_width, i_depth}, {0, i_depth}}, i_height);
}

TavAM::Mesh Disc(double i_diameter, int i_corners)
{
    std::vector<std::pair<double, double>> outline;
    for (int corner = 0; corner < i_corners; ++corner) {
        const double angle = 2 * std::numbers::pi * corner / i_corners;
        outline.emplace_back(i_diameter / 2 * std::cos(angle), i_diameter / 2 * std::sin(angle));
    }
    return Prism(outline, 10);
}

TavAM::Representation Shape(TavAM::Mesh i_mesh)
{
    return TavAM::Representation::FromMesh(std::make_shared<const TavAM::Mesh>(std::move(i_mesh)));
}

/// All parts begin at one place above the bed.
void Add(TavAM::Platform& io_platform, const std::wstring& i_name, TavAM::Representation i_shape,
         const Transform& i_placement = Transform::Translation(-500, 300, 40))
{
    TavAM::Part part;
    part.SetName(i_name);
    part.SetRepresentation(std::move(i_shape));
    part.SetPlacement(i_placement);
    io_platform.GetParts().push_back(std::move(part));
}

using Triangle = std::array<TavAM::Point3d, 3>;

std::vector<Triangle> GetTriangles(const TavAM::Part& i_part)
{
    std::vector<Triangle> triangles;
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const Transform& i_placement) {
            for (const auto& triangle : i_mesh.triangles) {
                Triangle placed;
                for (std::size_t corner = 0; corner < 3; ++corner) {
                    const auto& vertex = i_mesh.vertices[triangle[corner]];
                    placed[corner] = i_placement.Apply({vertex.x, vertex.y, vertex.z});
                }
                triangles.push_back(placed);
            }
        });
    return triangles;
}

double Cross(const TavAM::Point3d& i_a, const TavAM::Point3d& i_b, const TavAM::Point3d& i_c)
{
    return (i_b.x - i_a.x) * (i_c.y - i_a.y) - (i_b.y - i_a.y) * (i_c.x - i_a.x);
}

double Distance(const TavAM::Point3d& i_point, const TavAM::Point3d& i_a, const TavAM::Point3d& i_b)
{
    const double dx = i_b.x - i_a.x;
    const double dy = i_b.y - i_a.y;
    const double square = dx * dx + dy * dy;
    const double along = square == 0 ? 0 : ((i_point.x - i_a.x) * dx + (i_point.y - i_a.y) * dy) / square;
    const double share = std::clamp(along, 0.0, 1.0);
    return std::hypot(i_point.x - i_a.x - share * dx, i_point.y - i_a.y - share * dy);
}

bool Contains(const Triangle& i_triangle, const TavAM::Point3d& i_point)
{
    const double a = Cross(i_triangle[0], i_triangle[1], i_point);
    const double b = Cross(i_triangle[1], i_triangle[2], i_point);
    const double c = Cross(i_triangle[2], i_triangle[0], i_point);
    return (a > 0 && b > 0 && c > 0) || (a < 0 && b < 0 && c < 0);
}

/// Seen from above; 0 when the triangles meet.
double Distance(const Triangle& i_left, const Triangle& i_right)
{
    double distance = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < 3; ++i) {
        if (Contains(i_left, i_right[i]) || Contains(i_right, i_left[i]))
            return 0;
        const auto& a = i_left[i];
        const auto& b = i_left[(i + 1) % 3];
        for (std::size_t j = 0; j < 3; ++j) {
            const auto& c = i_right[j];
            const auto& d = i_right[(j + 1) % 3];
            if (Cross(a, b, c) * Cross(a, b, d) < 0 && Cross(c, d, a) * Cross(c, d, b) < 0)
                return 0;
            distance = std::min({distance, Distance(a, c, d), Distance(c, a, b)});
        }
    }
    return distance;
}

/// Triangle by triangle, without any of the code under test.
void ExpectPlaced(const TavAM::Platform& i_platform, const Bed& i_bed, double i_clearance)
{
    std::vector<std::vector<Triangle>> parts;
    for (const auto& part : i_platform.GetParts())
        parts.push_back(GetTriangles(part));
    for (std::size_t index = 0; index < parts.size(); ++index) {
        double lowest = std::numeric_limits<double>::max();
        double edge = std::numeric_limits<double>::max();
        for (const Triangle& triangle : parts[index]) {
            for (const auto& corner : triangle) {
                lowest = std::min(lowest, corner.z);
                if (i_bed.shape == BedShape::Circle)
                    edge = std::min(edge, i_bed.diameter / 2 -
                                              std::hypot(corner.x - i_bed.centre.x, corner.y - i_bed.centre.y));
                for (std::size_t from = 0; from < i_bed.outline.size(); ++from) {
                    const auto& a = i_bed.outline[from];
                    const auto& b = i_bed.outline[(from + 1) % i_bed.outline.size()];
                    edge =
                        std::min(edge, Cross({a.x, a.y, 0}, {b.x, b.y, 0}, corner) / std::hypot(b.x - a.x, b.y - a.y));
                }
            }
        }
        EXPECT_NEAR(lowest, 0, 1e-4) << index;
        EXPECT_GE(edge, i_clearance - Slack) << index;
        for (std::size_t other = index + 1; other < parts.size(); ++other) {
            const auto box = i_platform.GetParts()[index].GetBoundingBox();
            const auto otherBox = i_platform.GetParts()[other].GetBoundingBox();
            if (std::max({box.min.x - otherBox.max.x, otherBox.min.x - box.max.x, box.min.y - otherBox.max.y,
                          otherBox.min.y - box.max.y}) >= i_clearance)
                continue;
            double distance = std::numeric_limits<double>::max();
            for (const Triangle& left : parts[index]) {
                for (const Triangle& right : parts[other])
                    distance = std::min(distance, Distance(left, right));
            }
            EXPECT_GE(distance, i_clearance - Slack) << index << " and " << other;
        }
    }
}

std::vector<Transform> GetPlacements(const TavAM::Platform& i_platform)
{
    std::vector<Transform> placements;
    for (const auto& part : i_platform.GetParts())
        placements.push_back(part.GetPlacement());
    return placements;
}

struct Row
{
    const char* name;
    Bed bed;
    double clearance;
    std::function<void(TavAM::Platform&)> fill;
    std::vector<std::string> unplaced;
    std::vector<std::string> withoutMesh;
};

void PrintTo(const Row& i_row, std::ostream* op_stream)
{
    *op_stream << i_row.name;
}

class PlacementRows : public ::testing::TestWithParam<Row>
{};

void FillSame(TavAM::Platform& io_platform, int i_count, const TavAM::Representation& i_shape)
{
    for (int index = 0; index < i_count; ++index)
        Add(io_platform, L"p" + std::to_wstring(index), i_shape);
}

std::vector<Row> MakeRows()
{
    Bed triangle;
    triangle.shape = BedShape::Polygon;
    triangle.outline = {{0, 0}, {200, 0}, {100, 180}};
    const auto ell = Prism({{0, 0}, {60, 0}, {60, 15}, {15, 15}, {15, 60}, {0, 60}}, 20);
    return {
        {"an empty platform", Rectangle(100, 100), 3, [](auto&) {}, {}, {}},
        {"several shapes on a rectangle",
         Rectangle(180, 180),
         4,
         [=](auto& io_platform) {
             for (const double size : {20.0, 45.0, 31.0})
                 Add(io_platform, L"box", Shape(Box(size, size / 2, size)));
             Add(io_platform, L"disc", Shape(Disc(40, 50)));
             Add(io_platform, L"ell", Shape(ell));
             Add(io_platform, L"ell", Shape(ell));
         },
         {},
         {}},
        // 4 x 4 boxes of 20 with 5 between them and beside the edge fill 105 exactly.
        {"an exact fit",
         Rectangle(105, 105),
         5,
         [](auto& io_platform) { FillSame(io_platform, 16, Shape(Box(20, 20, 5))); },
         {},
         {}},
        {"one more than an exact fit",
         Rectangle(55, 55),
         5,
         [](auto& io_platform) { FillSame(io_platform, 5, Shape(Box(20, 20, 5))); },
         {"p4"},
         {}},
        {"a disc as large as a circular bed",
         Circle(200),
         2,
         [](auto& io_platform) { Add(io_platform, L"d", Shape(Disc(196, 64))); },
         {},
         {}},
        {"boxes on a circular bed",
         Circle(150),
         3,
         [](auto& io_platform) { FillSame(io_platform, 12, Shape(Box(25, 20, 5))); },
         {},
         {}},
        {"a box in the corner of a circle's square",
         Circle(100),
         1,
         [](auto& io_platform) { Add(io_platform, L"square", Shape(Box(75, 75, 5))); },
         {"square"},
         {}},
        {"a polygon", triangle, 2, [](auto& io_platform) { FillSame(io_platform, 9, Shape(Box(30, 20, 5))); }, {}, {}},
        {"a quarter turn is needed",
         Rectangle(40, 200),
         2,
         [](auto& io_platform) { FillSame(io_platform, 3, Shape(Box(150, 8, 5))); },
         {},
         {}},
        {"the diagonal is needed",
         Rectangle(100, 100),
         1,
         [](auto& io_platform) { Add(io_platform, L"rod", Shape(Box(125, 5, 5))); },
         {},
         {}},
        {"one too long and one too high among others",
         Rectangle(100, 100),
         1,
         [](auto& io_platform) {
             Add(io_platform, L"fits", Shape(Box(10, 10, 10)));
             Add(io_platform, L"\x05d0 long", Shape(Box(160, 10, 10)));
             Add(io_platform, L"", Shape(Box(10, 10, 101)));
         },
         {"\xd7\x90 long", "part 3"},
         {}},
        {"members at any depth",
         Rectangle(120, 120),
         2,
         [](auto& io_platform) {
             auto inner = Shape(Box(10, 10, 10));
             inner.SetPlacement(Transform::Translation(0, 0, 30));
             auto middle = TavAM::Representation::FromMembers({Shape(Box(40, 4, 4)), inner});
             middle.SetPlacement({{0, -1, 0, 3, 1, 0, 0, 7, 0, 0, 1, 2}});
             const auto outer = TavAM::Representation::FromMembers({middle, Shape(Box(4, 40, 4))});
             FillSame(io_platform, 4, outer);
         },
         {},
         {}},
        {"a part without a mesh",
         Rectangle(60, 60),
         2,
         [](auto& io_platform) {
             Add(io_platform, L"formula", TavAM::Representation::FromImplicit("x+y"));
             Add(io_platform, L"box", Shape(Box(10, 10, 10)));
             Add(io_platform, L"nothing", TavAM::Representation());
         },
         {},
         {"formula", "nothing"}},
        {"a sheet that stands upright, and a part a million mm wide",
         Rectangle(60, 60),
         2,
         [](auto& io_platform) {
             TavAM::Mesh sheet;
             sheet.vertices = {{0, 0, 0}, {20, 0, 0}, {0, 0, 20}};
             sheet.triangles = {{0, 1, 2}};
             Add(io_platform, L"sheet", Shape(sheet));
             Add(io_platform, L"wide", Shape(Box(1e6, 1e6, 1)));
         },
         {"wide"},
         {}},
    };
}

} // namespace

TEST_P(PlacementRows, PlacesAllOrNamesWhatDoesNotFitAndMovesNothing)
{
    TavAM::Platform platform;
    GetParam().fill(platform);
    const auto before = GetPlacements(platform);
    PlacementOptions options;
    options.clearance = GetParam().clearance;
    const PlacementResult result = PlaceParts(platform, GetParam().bed, 100, options);
    EXPECT_EQ(result.unplaced, GetParam().unplaced);
    EXPECT_EQ(result.withoutMesh, GetParam().withoutMesh);
    if (!GetParam().unplaced.empty()) {
        EXPECT_EQ(GetPlacements(platform), before);
        return;
    }
    TavAM::Platform solid = platform;
    for (std::size_t index = 0; index < before.size(); ++index) {
        if (platform.GetParts()[index].GetBoundingBox().IsEmpty()) {
            EXPECT_EQ(platform.GetParts()[index].GetPlacement(), before[index]);
        }
    }
    std::erase_if(solid.GetParts(), [](const auto& i_part) { return i_part.GetBoundingBox().IsEmpty(); });
    ExpectPlaced(solid, GetParam().bed, GetParam().clearance);

    // A second time from the start gives the same.
    TavAM::Platform again;
    GetParam().fill(again);
    PlaceParts(again, GetParam().bed, 100, options);
    EXPECT_EQ(GetPlacements(again), GetPlacements(platform));
}

INSTANTIATE_TEST_SUITE_P(AutomaticPlacement, PlacementRows, ::testing::ValuesIn(MakeRows()));

TEST(AutomaticPlacement, PlacesFiftyDifferentPartsInTwoSecondsAroundTheCentre)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> size(12, 45);
    TavAM::Platform platform;
    for (int index = 0; index < 50; ++index) {
        const double angle = size(random);
        const Transform turned{
            {std::cos(angle), -std::sin(angle), 0, 5, std::sin(angle), std::cos(angle), 0, 9, 0, 0, 1, -3}};
        Add(platform, L"p",
            index % 2 == 0 ? Shape(Disc(size(random), 100)) : Shape(Box(size(random), size(random), 10)), turned);
    }
    std::vector<int> progress;
    PlacementOptions options;
    options.onProgress = [&](int i_percent) {
        progress.push_back(i_percent);
    };
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(PlaceParts(platform, Rectangle(350, 350), 100, options).unplaced, IsEmpty());
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    RecordProperty("seconds", std::to_string(time.count()));
#ifdef NDEBUG
    EXPECT_LT(time.count(), 2);
#endif
    ExpectPlaced(platform, Rectangle(350, 350), options.clearance);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
    EXPECT_EQ(progress.front(), 0);
    EXPECT_EQ(progress.back(), 100);

    TavAM::BoundingBox all;
    for (const auto& part : platform.GetParts())
        all.Add(part.GetBoundingBox());
    EXPECT_NEAR((all.min.x + all.max.x) / 2, 175, 20);
    EXPECT_NEAR((all.min.y + all.max.y) / 2, 175, 20);
}

TEST(AutomaticPlacement, PutsASinglePartInTheMiddleOfTheBed)
{
    Bed triangle;
    triangle.shape = BedShape::Polygon;
    triangle.outline = {{0, 0}, {90, 0}, {0, 120}};
    const std::pair<Bed, TavAM::Point3d> rows[] = {
        {Rectangle(120, 80), {60, 40, 5}}, {Circle(100), {20, -10, 5}}, {triangle, {30, 40, 5}}};
    for (const auto& [bed, middle] : rows) {
        TavAM::Platform platform;
        Add(platform, L"box", Shape(Box(10, 20, 10)));
        EXPECT_THAT(PlaceParts(platform, bed, 100, {}).unplaced, IsEmpty());
        const auto box = platform.GetParts()[0].GetBoundingBox();
        EXPECT_NEAR((box.min.x + box.max.x) / 2, middle.x, 1e-3);
        EXPECT_NEAR((box.min.y + box.max.y) / 2, middle.y, 1e-3);
    }
}

TEST(AutomaticPlacement, StopsInEveryPhaseAndMovesNothing)
{
    for (const int percent : {0, 5, 20, 90}) {
        TavAM::Platform platform;
        FillSame(platform, 40, Shape(Disc(20, 100)));
        const auto before = GetPlacements(platform);
        std::stop_source stop;
        PlacementOptions options;
        options.stop = stop.get_token();
        options.onProgress = [&](int i_percent) {
            if (i_percent >= percent)
                stop.request_stop();
        };
        try {
            PlaceParts(platform, Rectangle(300, 300), 100, options);
            ADD_FAILURE() << "not stopped at " << percent;
        } catch (const CommunicationException& failure) {
            EXPECT_EQ(failure.code(), ErrorCode::ProcessingAborted);
        }
        EXPECT_EQ(GetPlacements(platform), before);
    }
}

TEST(PlacementCheck, NamesEachFaultAndLetsPartsNestInOneAnother)
{
    const auto ell = Shape(Prism({{0, 0}, {60, 0}, {60, 10}, {10, 10}, {10, 60}, {0, 60}}, 5));
    const auto box = Shape(Box(20, 20, 5));
    const auto check = [](const TavAM::Platform& i_platform, const PlacementRules& i_rules) {
        std::vector<std::string> messages;
        for (const auto& fault : FindPlacementFaults(i_platform, Rectangle(100, 100), 50, i_rules, {}))
            messages.push_back(fault.message);
        return messages;
    };
    PlacementRules rules;
    rules.clearance = 4;

    TavAM::Platform nested;
    Add(nested, L"ell", ell, Transform::Translation(5, 5, 0));
    Add(nested, L"box", box, Transform::Translation(19, 19, 0));
    EXPECT_THAT(check(nested, rules), IsEmpty());
    nested.GetParts()[1].SetPlacement(Transform::Translation(18.9, 25, 0));
    EXPECT_THAT(check(nested, rules), ElementsAre("The parts 'ell' and 'box' are less than 4 mm apart."));
    nested.GetParts()[1].SetPlacement(Transform::Translation(14, 25, 30));
    rules.onBed = false;
    EXPECT_THAT(check(nested, rules), ElementsAre("The parts 'ell' and 'box' overlap, seen from above."));

    rules.onBed = true;
    rules.clearance = 1;
    TavAM::Platform faulty;
    Add(faulty, L"out", box, Transform::Translation(-2.5, 40, 0));
    Add(faulty, L"near", box, Transform::Translation(40, 0.25, 0));
    Add(faulty, L"high", Shape(Box(5, 5, 50.5)), Transform::Translation(40, 40, 0));
    Add(faulty, L"deep", box, Transform::Translation(70, 40, -1));
    Add(faulty, L"floats", box, Transform::Translation(70, 70, 1));
    Add(faulty, L"", TavAM::Representation());
    EXPECT_THAT(check(faulty, rules), ElementsAre("The part 'out' leaves the bed by 2.5 mm.",
                                                  "The part 'near' is only 0.25 mm away from the edge of the bed.",
                                                  "The part 'high' is 0.5 mm higher than the printer builds.",
                                                  "The part 'deep' reaches 1 mm below the bed.",
                                                  "The part 'floats' floats 1 mm above the bed.",
                                                  "The part 'part 6' has no mesh to be checked."));
}

} // namespace MachineService::BuildProcessor
