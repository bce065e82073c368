#include "services/ServiceFiles.h"

#include "buildprocessor/geometry/AutomaticPlacement.h"
#include "buildprocessor/geometry/PlacementCheck.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <random>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using TavAM::Transform;

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

TavAM::Mesh Box(float i_width, float i_depth, float i_height)
{
    return Testing::MakeBox(0, 0, 0, i_width, i_depth, i_height);
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
    return Testing::ToRepresentation(std::move(i_mesh));
}

/// All parts begin at one place above the bed.
TavAM::Part MakePart(const std::wstring& i_name, TavAM::Representation i_shape,
                     const Transform& i_placement = Transform::Translation(-500, 300, 40))
{
    auto part = Testing::MakePart(i_name, std::move(i_shape));
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

/// By the check of places, which has a test of its own and shares nothing with the search but the outlines.
void ExpectPlaced(const TavAM::Platform& i_platform, const Bed& i_bed, const PlacementOptions& i_options)
{
    PlacementRules rules;
    rules.clearances = i_options.clearances;
    rules.zones = i_options.zones;
    for (const PlacementFault& fault : FindPlacementFaults(i_platform, i_bed, 100, rules, {}))
        ADD_FAILURE() << fault.message;
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
    return {{i_to_part, i_to_wall}, RotationFreedom::AroundZ, 0, {}, {}, {}};
}

PlacementOptions Keep(double i_clearance)
{
    return Keep(i_clearance, i_clearance);
}

PlacementOptions Turn(RotationFreedom i_turns, double i_step)
{
    return {{1, 1}, i_turns, i_step, {}, {}, {}};
}

PlacementOptions Avoid(std::vector<NoBuildZone> i_zones)
{
    return {{1, 1}, RotationFreedom::AroundZ, 0, std::move(i_zones), {}, {}};
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
    for (const float size : {20.0F, 45.0F, 31.0F})
        several.push_back(MakePart(L"box", Shape(Box(size, size / 2, size))));

    auto inner = Shape(Box(10, 10, 10));
    inner.SetPlacement(Transform::Translation(0, 0, 30));
    auto middle = TavAM::Representation::FromMembers({Shape(Box(40, 4, 4)), inner});
    middle.SetPlacement({{0, -1, 0, 3, 1, 0, 0, 7, 0, 0, 1, 2}});
    const auto nested = TavAM::Representation::FromMembers({middle, Shape(Box(4, 40, 4))});

    TavAM::Mesh sheet;
    sheet.vertices = {{0, 0, 0}, {20, 0, 0}, {0, 0, 20}};
    sheet.triangles = {{0, 1, 2}};

    const Parts lows{MakePart(L"low", Shape(Box(20, 20, 50))), MakePart(L"tall", Shape(Box(20, 20, 51)))};
    const Bed square = Rectangle(100, 100);
    const Bed small = Rectangle(60, 60);
    const Bed slot = Rectangle(20, 100);
    const auto box = Box(20, 20, 5);
    const auto bar = Box(90, 5, 5);
    const auto rod = Box(125, 5, 5);
    const NoBuildZone centre{L"clamp", 30, 30, -5, 70, 70, 3};
    const NoBuildZone corner{L"", 0, 70, 0, 100, 100, 9};
    const NoBuildZone high{L"lamp", -1e6, -1e6, 50, 1e6, 1e6, 60};
    return {
        {"an empty platform", square, Keep(3), {}, {}, {}},
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
        {"the diagonal is needed", square, Keep(1), Same(1, rod), {}, {}},
        {"the diagonal in steps that meet it", square, Turn(RotationFreedom::Any, 9), Same(1, rod), {}, {}},
        {"the diagonal in steps beside it", square, Turn(RotationFreedom::Any, 60), Same(1, rod), {"p0"}, {}},
        {"a quarter turn that is no step", slot, Turn(RotationFreedom::Any, 60), Same(1, bar), {"p0"}, {}},
        {"a turn that is not allowed", slot, Turn(RotationFreedom::None, 0), Same(1, bar), {"p0"}, {}},
        {"a clamp in the middle", square, Avoid({centre}), Same(8, Box(25, 25, 5)), {}, {}},
        {"what is too wide beside the clamp", square, Avoid({centre}), Same(1, Box(40, 40, 5)), {"p0"}, {}},
        {"a turn beside the clamp", square, Avoid({centre, corner}), Same(1, Box(25, 60, 5)), {}, {}},
        {"under the lamp", square, Avoid({centre, high}), lows, {"tall"}, {}},
        {"one too long and one too high",
         square,
         Keep(1),
         {MakePart(L"fits", Shape(box)), MakePart(L"\x05d0 long", Shape(Box(160, 10, 10))),
          MakePart(L"", Shape(Box(10, 10, 101)))},
         {"\xd7\x90 long", "part 3"},
         {}},
        {"members at any depth", Rectangle(120, 120), Keep(2), Same(4, nested), {}, {}},
        {"parts without a mesh", small, Keep(2), Same(2, TavAM::Representation::FromImplicit("x")), {}, {"p0", "p1"}},
        {"a sheet that stands upright", small, Keep(2), Same(2, sheet), {}, {}},
        {"a part a million mm wide", small, Keep(2), Same(1, Box(1e6, 1e6, 1)), {"p0"}, {}},
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
        const auto failure = Testing::GetFailure([&] { PlaceParts(platform, Rectangle(300, 300), 100, options); });
        EXPECT_EQ(failure.code, ErrorCode::ProcessingAborted) << "not stopped at " << percent;
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

    rules.clearances = {4, 0};
    const auto corner = at(ell, L"ell", 5, 5, 0);
    EXPECT_THAT(check({corner, at(box, L"box", 19, 19, 0)}), IsEmpty());
    EXPECT_THAT(check({corner, at(box, L"box", 18.9, 25, 0)}),
                ElementsAre("The parts 'ell' and 'box' are less than 4 mm apart."));
    rules.onBed = false;
    EXPECT_THAT(check({corner, at(box, L"box", 14, 25, 30)}),
                ElementsAre("The parts 'ell' and 'box' overlap, seen from above."));

    rules.onBed = true;
    rules.clearances = {1, 1};
    rules.zones = {{L"hollow of the ell", 15, 15, 0, 65, 65, 9}, {L"above it", 0, 0, 5, 100, 30, 9}};
    EXPECT_THAT(check({corner}), IsEmpty());
    rules.zones.push_back({L"foot", 14.9, 64, 0, 99, 99, 9});
    EXPECT_THAT(check({corner}), ElementsAre("The part 'ell' enters the no-build zone 'foot'; move it."));
    rules.zones.clear();
    EXPECT_THAT(check({at(box, L"out", -2.5, 40, 0), at(box, L"near", 40, 0.25, 0),
                       at(Shape(Box(5, 5, 50.5)), L"high", 40, 40, 0), at(box, L"deep", 70, 40, -1),
                       at(box, L"floats", 70, 70, 1), MakePart(L"", TavAM::Representation())}),
                ElementsAre("The part 'out' leaves the bed by 2.5 mm; move, turn or scale it.",
                            "The part 'near' is only 0.25 mm away from the edge of the bed; move it.",
                            "The part 'high' is 0.5 mm higher than the printer builds; turn or scale it.",
                            "The part 'deep' reaches 1 mm below the bed; lift it.",
                            "The part 'floats' floats 1 mm above the bed; lower it, or choose supports.",
                            "The part 'part 6' has no mesh to be checked."));
}
