#include "buildprocessor/AutomaticPlacement.h"

#include "buildprocessor/PlacementCheck.h"
#include "client/interface/CommunicationException.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <complex>
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
TavAM::Part MakePart(const std::wstring& i_name, TavAM::Representation i_shape,
                     const Transform& i_placement = Transform::Translation(-500, 300, 40))
{
    TavAM::Part part;
    part.SetName(i_name);
    part.SetRepresentation(std::move(i_shape));
    part.SetPlacement(i_placement);
    return part;
}

using Parts = std::vector<TavAM::Part>;

Parts Same(int i_count, const TavAM::Representation& i_shape)
{
    Parts parts;
    for (int index = 0; index < i_count; ++index)
        parts.push_back(MakePart(L"p" + std::to_wstring(index), i_shape));
    return parts;
}

Parts Same(int i_count, TavAM::Mesh i_mesh)
{
    return Same(i_count, Shape(std::move(i_mesh)));
}

using Point = std::complex<double>;
using Edge = std::pair<Point, Point>;

double Cross(const Point& i_a, const Point& i_b)
{
    return (std::conj(i_a) * i_b).imag();
}

/// Edges of the triangles that look up, seen from above; of all when none does.
std::vector<Edge> GetEdges(const TavAM::Part& i_part)
{
    std::vector<Edge> up;
    std::vector<Edge> all;
    i_part.GetRepresentation().ForEachMesh(
        i_part.GetPlacement(), [&](const TavAM::Mesh& i_mesh, const Transform& i_placement) {
            for (const auto& corners : i_mesh.triangles) {
                std::array<Point, 3> points;
                std::transform(corners.begin(), corners.end(), points.begin(), [&](std::uint32_t i_corner) {
                    const auto& vertex = i_mesh.vertices[i_corner];
                    const auto placed = i_placement.Apply({vertex.x, vertex.y, vertex.z});
                    return Point(placed.x, placed.y);
                });
                auto& edges = Cross(points[1] - points[0], points[2] - points[0]) > 1e-9 ? up : all;
                for (std::size_t index = 0; index < 3; ++index)
                    edges.emplace_back(points[index], points[(index + 1) % 3]);
            }
        });
    return up.empty() ? all : up;
}

double Distance(const Point& i_point, const Edge& i_edge)
{
    const Point way = i_edge.second - i_edge.first;
    const Point to = i_point - i_edge.first;
    const double share = way == Point() ? 0 : std::clamp((std::conj(way) * to).real() / std::norm(way), 0.0, 1.0);
    return std::abs(to - share * way);
}

/// 0 when the edges cross.
double Distance(const Edge& i_left, const Edge& i_right)
{
    const auto& [a, b] = i_left;
    const auto& [c, d] = i_right;
    if (Cross(b - a, c - a) * Cross(b - a, d - a) < 0 && Cross(d - c, a - c) * Cross(d - c, b - c) < 0)
        return 0;
    return std::min({Distance(a, i_right), Distance(b, i_right), Distance(c, i_left), Distance(d, i_left)});
}

double GetDepth(const Bed& i_bed, const Point& i_point)
{
    if (i_bed.shape == BedShape::Circle)
        return i_bed.diameter / 2 - std::abs(i_point - Point(i_bed.centre.x, i_bed.centre.y));
    double depth = std::numeric_limits<double>::max();
    for (std::size_t from = 0; from < i_bed.outline.size(); ++from) {
        const auto& a = i_bed.outline[from];
        const auto& b = i_bed.outline[(from + 1) % i_bed.outline.size()];
        const Point way(b.x - a.x, b.y - a.y);
        depth = std::min(depth, Cross(way, i_point - Point(a.x, a.y)) / std::abs(way));
    }
    return depth;
}

/// Edge by edge, without any of the code under test.
void ExpectPlaced(const TavAM::Platform& i_platform, const Bed& i_bed, const PlacementOptions& i_options)
{
    struct Obstacle
    {
        std::vector<Edge> edges;
        TavAM::BoundingBox box;
        double clearance;
    };
    std::vector<Obstacle> obstacles;
    for (const NoBuildZone& zone : i_options.zones) {
        constexpr double touch = 2 * Slack;
        const Point a(zone.minX + touch, zone.minY + touch);
        const Point c(zone.maxX - touch, zone.maxY - touch);
        const Point b(c.real(), a.imag());
        const Point d(a.real(), c.imag());
        obstacles.push_back({{{a, b}, {b, c}, {c, d}, {d, a}},
                             {{zone.minX, zone.minY, zone.minZ}, {zone.maxX, zone.maxY, zone.maxZ}},
                             touch});
    }
    for (const TavAM::Part& part : i_platform.GetParts()) {
        const auto edges = GetEdges(part);
        const auto box = part.GetBoundingBox();
        EXPECT_NEAR(box.min.z, 0, 1e-4);
        for (const Edge& edge : edges)
            EXPECT_GE(GetDepth(i_bed, edge.first), i_options.partToWall - Slack);
        for (const auto& [others, otherBox, clearance] : obstacles) {
            if (otherBox.min.z >= box.max.z ||
                std::max({box.min.x - otherBox.max.x, otherBox.min.x - box.max.x, box.min.y - otherBox.max.y,
                          otherBox.min.y - box.max.y}) >= clearance)
                continue;
            double distance = std::numeric_limits<double>::max();
            for (const Edge& left : edges) {
                for (const Edge& right : others)
                    distance = std::min(distance, Distance(left, right));
            }
            EXPECT_GE(distance, clearance - Slack);
        }
        obstacles.push_back({edges, box, i_options.partToPart});
    }
}

std::vector<Transform> GetPlacements(const TavAM::Platform& i_platform)
{
    std::vector<Transform> placements;
    for (const auto& part : i_platform.GetParts())
        placements.push_back(part.GetPlacement());
    return placements;
}

PlacementOptions Keep(double i_to_part, double i_to_wall)
{
    return {i_to_part, i_to_wall, Turns::AroundZ, 0, {}, {}, {}};
}

PlacementOptions Keep(double i_clearance)
{
    return Keep(i_clearance, i_clearance);
}

PlacementOptions Turn(Turns i_turns, double i_step)
{
    return {1, 1, i_turns, i_step, {}, {}, {}};
}

PlacementOptions Avoid(std::vector<NoBuildZone> i_zones)
{
    return {1, 1, Turns::AroundZ, 0, std::move(i_zones), {}, {}};
}

struct Row
{
    const char* name;
    Bed bed;
    PlacementOptions options;
    Parts parts;
    std::vector<std::string> unplaced;
    std::vector<std::string> withoutMesh;
};

std::vector<Row> MakeRows()
{
    Bed triangle;
    triangle.shape = BedShape::Polygon;
    triangle.outline = {{0, 0}, {200, 0}, {100, 180}};

    const auto ell = Shape(Prism({{0, 0}, {60, 0}, {60, 15}, {15, 15}, {15, 60}, {0, 60}}, 20));
    Parts several{MakePart(L"disc", Shape(Disc(40, 50))), MakePart(L"ell", ell), MakePart(L"ell", ell)};
    for (const double size : {20.0, 45.0, 31.0})
        several.push_back(MakePart(L"box", Shape(Box(size, size / 2, size))));

    auto inner = Shape(Box(10, 10, 10));
    inner.SetPlacement(Transform::Translation(0, 0, 30));
    auto middle = TavAM::Representation::FromMembers({Shape(Box(40, 4, 4)), inner});
    middle.SetPlacement({{0, -1, 0, 3, 1, 0, 0, 7, 0, 0, 1, 2}});
    const auto nested = TavAM::Representation::FromMembers({middle, Shape(Box(4, 40, 4))});

    TavAM::Mesh sheet;
    sheet.vertices = {{0, 0, 0}, {20, 0, 0}, {0, 0, 20}};
    sheet.triangles = {{0, 1, 2}};

    const auto box = Box(20, 20, 5);
    const auto rod = Box(125, 5, 5);
    const NoBuildZone centre{"clamp", 30, 30, -5, 70, 70, 3};
    const NoBuildZone high{"lamp", -1e6, -1e6, 50, 1e6, 1e6, 60};
    return {
        {"an empty platform", Rectangle(100, 100), Keep(3), {}, {}, {}},
        {"several shapes on a rectangle", Rectangle(180, 180), Keep(4), several, {}, {}},
        // 4 x 4 boxes of 20 with 5 between them and beside the edge fill 105 exactly.
        {"an exact fit", Rectangle(105, 105), Keep(5), Same(16, box), {}, {}},
        {"one more than an exact fit", Rectangle(55, 55), Keep(5), Same(5, box), {"p4"}, {}},
        {"an exact fit up to the edge", Rectangle(95, 95), Keep(5, 0), Same(16, box), {}, {}},
        {"an exact fit far from the edge", Rectangle(86, 86), Keep(2, 10), Same(9, box), {}, {}},
        {"a clearance as wide as the bed", Rectangle(86, 86), Keep(1e6, 1), Same(2, box), {"p1"}, {}},
        {"a disc as large as a circular bed", Circle(200), Keep(2), Same(1, Disc(196, 64)), {}, {}},
        {"boxes on a circular bed", Circle(150), Keep(3), Same(12, Box(25, 20, 5)), {}, {}},
        {"a box in the corner of a circle's square", Circle(100), Keep(1), Same(1, Box(75, 75, 5)), {"p0"}, {}},
        {"a polygon", triangle, Keep(2), Same(9, Box(30, 20, 5)), {}, {}},
        {"a quarter turn is needed", Rectangle(40, 200), Keep(2), Same(3, Box(150, 8, 5)), {}, {}},
        {"the diagonal is needed", Rectangle(100, 100), Keep(1), Same(1, rod), {}, {}},
        {"the diagonal in steps that meet it", Rectangle(100, 100), Turn(Turns::Any, 9), Same(1, rod), {}, {}},
        {"the diagonal in steps beside it", Rectangle(100, 100), Turn(Turns::AroundZ, 60), Same(1, rod), {"p0"}, {}},
        {"a quarter turn that is no step",
         Rectangle(20, 100),
         Turn(Turns::AroundZ, 60),
         Same(1, Box(90, 5, 5)),
         {"p0"},
         {}},
        {"a turn that is not allowed", Rectangle(20, 100), Turn(Turns::None, 0), Same(1, Box(90, 5, 5)), {"p0"}, {}},
        {"a clamp in the middle", Rectangle(100, 100), Avoid({centre}), Same(8, Box(25, 25, 5)), {}, {}},
        {"what is too wide beside the clamp",
         Rectangle(100, 100),
         Avoid({centre}),
         Same(1, Box(40, 40, 5)),
         {"p0"},
         {}},
        {"a turn beside the clamp",
         Rectangle(100, 100),
         Avoid({centre, {"", 0, 70, 0, 100, 100, 9}}),
         Same(1, Box(25, 60, 5)),
         {},
         {}},
        {"what passes under the lamp, and what does not",
         Rectangle(100, 100),
         Avoid({centre, high}),
         {MakePart(L"low", Shape(Box(20, 20, 50))), MakePart(L"tall", Shape(Box(20, 20, 51)))},
         {"tall"},
         {}},
        {"one too long and one too high among others",
         Rectangle(100, 100),
         Keep(1),
         {MakePart(L"fits", Shape(Box(10, 10, 10))), MakePart(L"\x05d0 long", Shape(Box(160, 10, 10))),
          MakePart(L"", Shape(Box(10, 10, 101)))},
         {"\xd7\x90 long", "part 3"},
         {}},
        {"members at any depth", Rectangle(120, 120), Keep(2), Same(4, nested), {}, {}},
        {"a part without a mesh",
         Rectangle(60, 60),
         Keep(2),
         {MakePart(L"formula", TavAM::Representation::FromImplicit("x+y")), MakePart(L"box", Shape(box)),
          MakePart(L"nothing", TavAM::Representation())},
         {},
         {"formula", "nothing"}},
        {"a sheet that stands upright, and a part a million mm wide",
         Rectangle(60, 60),
         Keep(2),
         {MakePart(L"sheet", Shape(sheet)), MakePart(L"wide", Shape(Box(1e6, 1e6, 1)))},
         {"wide"},
         {}},
    };
}

} // namespace

TEST(AutomaticPlacement, PlacesAllOrNamesWhatDoesNotFitAndMovesNothing)
{
    for (const Row& row : MakeRows()) {
        SCOPED_TRACE(row.name);
        TavAM::Platform platform;
        platform.GetParts() = row.parts;
        TavAM::Platform again = platform;
        const auto before = GetPlacements(platform);
        const PlacementResult result = PlaceParts(platform, row.bed, 100, row.options);
        EXPECT_EQ(result.unplaced, row.unplaced);
        EXPECT_EQ(result.withoutMesh, row.withoutMesh);
        if (!row.unplaced.empty()) {
            EXPECT_EQ(GetPlacements(platform), before);
            continue;
        }
        for (std::size_t index = 0; index < before.size(); ++index)
            EXPECT_TRUE(!platform.GetParts()[index].GetBoundingBox().IsEmpty() ||
                        platform.GetParts()[index].GetPlacement() == before[index]);
        TavAM::Platform solid = platform;
        std::erase_if(solid.GetParts(), [](const auto& i_part) { return i_part.GetBoundingBox().IsEmpty(); });
        ExpectPlaced(solid, row.bed, row.options);

        // A second time from the start gives the same.
        PlaceParts(again, row.bed, 100, row.options);
        EXPECT_EQ(GetPlacements(again), GetPlacements(platform));
    }
}

TEST(AutomaticPlacement, PlacesFiftyDifferentPartsInTwoSecondsAroundTheCentre)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> size(12, 45);
    TavAM::Platform platform;
    for (int index = 0; index < 50; ++index) {
        const double angle = size(random);
        const Transform turned{
            {std::cos(angle), -std::sin(angle), 0, 5, std::sin(angle), std::cos(angle), 0, 9, 0, 0, 1, -3}};
        const auto mesh = index % 2 == 0 ? Disc(size(random), 100) : Box(size(random), size(random), 10);
        platform.GetParts().push_back(MakePart(L"p", Shape(mesh), turned));
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
    ExpectPlaced(platform, Rectangle(350, 350), options);
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
        platform.GetParts() = Same(1, Box(10, 20, 10));
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
        platform.GetParts() = Same(40, Disc(20, 100));
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
    PlacementRules rules;
    const auto check = [&](const Parts& i_parts) {
        TavAM::Platform platform;
        platform.GetParts() = i_parts;
        std::vector<std::string> messages;
        for (const auto& fault : FindPlacementFaults(platform, Rectangle(100, 100), 50, rules, {}))
            messages.push_back(fault.message);
        return messages;
    };
    const auto at = [](const TavAM::Representation& i_shape, const wchar_t* ip_name, double i_x, double i_y,
                       double i_z) {
        return MakePart(ip_name, i_shape, Transform::Translation(i_x, i_y, i_z));
    };

    rules.clearance = 4;
    const auto corner = at(ell, L"ell", 5, 5, 0);
    EXPECT_THAT(check({corner, at(box, L"box", 19, 19, 0)}), IsEmpty());
    EXPECT_THAT(check({corner, at(box, L"box", 18.9, 25, 0)}),
                ElementsAre("The parts 'ell' and 'box' are less than 4 mm apart."));
    rules.onBed = false;
    EXPECT_THAT(check({corner, at(box, L"box", 14, 25, 30)}),
                ElementsAre("The parts 'ell' and 'box' overlap, seen from above."));

    rules.onBed = true;
    rules.clearance = rules.wallClearance = 1;
    rules.zones = {{"hollow of the ell", 15, 15, 0, 65, 65, 9}, {"above it", 0, 0, 5, 100, 30, 9}};
    EXPECT_THAT(check({corner}), IsEmpty());
    rules.zones.push_back({"foot", 14.9, 64, 0, 99, 99, 9});
    EXPECT_THAT(check({corner}), ElementsAre("The part 'ell' enters the no-build zone 'foot'."));
    rules.zones.clear();
    EXPECT_THAT(check({at(box, L"out", -2.5, 40, 0), at(box, L"near", 40, 0.25, 0),
                       at(Shape(Box(5, 5, 50.5)), L"high", 40, 40, 0), at(box, L"deep", 70, 40, -1),
                       at(box, L"floats", 70, 70, 1), MakePart(L"", TavAM::Representation())}),
                ElementsAre("The part 'out' leaves the bed by 2.5 mm.",
                            "The part 'near' is only 0.25 mm away from the edge of the bed.",
                            "The part 'high' is 0.5 mm higher than the printer builds.",
                            "The part 'deep' reaches 1 mm below the bed.",
                            "The part 'floats' floats 1 mm above the bed.",
                            "The part 'part 6' has no mesh to be checked."));
}

} // namespace MachineService::BuildProcessor
