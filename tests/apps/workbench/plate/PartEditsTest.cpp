#include "apps/workbench/plate/PlateFixture.h"

#include "workbench/plate/PartEdits.h"

namespace {

using namespace Workbench;
using PlateTest::MakeBox;
using PlateTest::MakePart;

using PartEditsTest = PlateTest::Fixture;

std::array<double, 6> GetCorners(const TavAM::BoundingBox& i_box)
{
    return {i_box.min.x, i_box.min.y, i_box.min.z, i_box.max.x, i_box.max.y, i_box.max.z};
}

TEST_F(PartEditsTest, EachIsOneStepThatIsUndoneWhole)
{
    using Ids = PartEdits::PartIds;
    struct Row
    {
        const char* what;
        std::function<bool(VexlorCore::DataSet&, const Ids&)> edit;
        std::array<double, 6> box; ///< of both parts after it
    };
    const std::optional<TavAM::BoundingBox> bed({{0, 0, 0}, {200, 100, 120}});
    const Row rows[] = {
        {"move",
         [](auto& io_scene, const Ids& i_ids) {
             return PartEdits::Move(io_scene, i_ids, {1, -2, 3});
         },
         {11, 8, 8, 51, 28, 23}},
        {"quarter turn",
         [](auto& io_scene, const Ids& i_ids) { return PartEdits::RotateAboutZ(io_scene, i_ids, 90); },
         {20, 0, 5, 40, 40, 20}},
        {"scale",
         [](auto& io_scene, const Ids& i_ids) { return PartEdits::Scale(io_scene, i_ids, 2); },
         {-10, 0, 5, 70, 40, 35}},
        {"drop",
         [](auto& io_scene, const Ids& i_ids) { return PartEdits::DropToPlate(io_scene, i_ids); },
         {10, 10, 0, 50, 30, 10}},
        {"duplicate",
         [&](auto& io_scene, const Ids& i_ids) { return PartEdits::Duplicate(io_scene, i_ids, bed); },
         {10, 10, 5, 95, 55, 20}},
        {"delete",
         [](auto& io_scene, const Ids& i_ids) { return PartEdits::Delete(io_scene, i_ids); },
         {1, 1, 1, -1, -1, -1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        GetParts() = {MakePart(L"one", MakeBox(10, 20, 10), 10, 10, 5),
                      MakePart(L"two", MakeBox(10, 20, 5), 40, 10, 15), MakePart(L"other", MakeBox(1, 1, 1), 150, 80)};
        const Ids ids{GetId(0), GetId(1)};
        _selection.Set(ids);
        const auto steps = CountSteps();
        const auto former = GetParts();
        EXPECT_TRUE(row.edit(*_host.scene, ids));
        EXPECT_EQ(CountSteps(), steps + 1);
        Ids all;
        for (const TavAM::Part& part : GetParts()) {
            if (part.GetName() != L"other")
                all.push_back(part.GetRevisionId());
        }
        EXPECT_EQ(std::set(all.begin(), all.end()).size(), all.size());
        const auto box = GetCorners(PartEdits::GetBox(*_host.scene, all));
        for (std::size_t index = 0; index < box.size(); ++index)
            EXPECT_NEAR(box[index], row.box[index], 1e-9) << index;

        EXPECT_TRUE(Undo());
        ASSERT_EQ(GetParts().size(), former.size());
        for (std::size_t index = 0; index < former.size(); ++index) {
            EXPECT_EQ(GetId(index), former[index].GetRevisionId());
            EXPECT_EQ(GetParts()[index].GetPlacement(), former[index].GetPlacement());
        }
        EXPECT_EQ(_selection.GetIds(), ids);
    }
}

TEST_F(PartEditsTest, WhatChangesNothingOrCannotBeHeldMakesNoStep)
{
    GetParts() = {MakePart(L"one", MakeBox(10, 20, 10), 10, 10)};
    const PartEdits::PartIds ids{GetId(0)};
    VexlorCore::DataSet& scene = *_host.scene;
    EXPECT_FALSE(PartEdits::Move(scene, ids, {}));
    EXPECT_FALSE(PartEdits::Move(scene, {}, {1, 0, 0}));
    EXPECT_FALSE(PartEdits::Move(scene, ids, {2e6, 0, 0}));
    EXPECT_FALSE(PartEdits::Move(scene, ids, {std::nan(""), 0, 0}));
    EXPECT_FALSE(PartEdits::RotateAboutZ(scene, ids, 360));
    for (const double factor : {0.0, -1.0, 1.0, 1001.0, std::nan("")})
        EXPECT_FALSE(PartEdits::Scale(scene, ids, factor)) << factor;
    EXPECT_FALSE(PartEdits::DropToPlate(scene, ids));
    EXPECT_FALSE(PartEdits::Delete(scene, {boost::uuids::uuid{}}));
    EXPECT_EQ(CountSteps(), 0U);
}

TEST_F(PartEditsTest, ArrangedPartsStandApartOnTheBedAndBesideItsZones)
{
    PlateBed bed;
    bed.minX = bed.minY = 0;
    bed.maxX = bed.maxY = 60;
    bed.zones.push_back({QStringLiteral("clip"), {{0, 25, 0}, {60, 30, 5}}});
    GetParts() = {MakePart(L"stays", MakeBox(10, 10, 10), 0, 40), MakePart(L"small", MakeBox(5, 5, 5), -500, 0, 7),
                  MakePart(L"large", MakeBox(30, 20, 5), 300, 300), MakePart(L"too large", MakeBox(61, 5, 5), 0, 0)};
    ASSERT_TRUE(PartEdits::Arrange(*_host.scene, {GetId(1), GetId(2), GetId(3)}, bed));
    EXPECT_EQ(CountSteps(), 1U);
    std::vector<TavAM::BoundingBox> boxes{bed.zones.front().box};
    for (const TavAM::Part& part : GetParts())
        boxes.push_back(part.GetBoundingBox());
    EXPECT_EQ(boxes[1].min, (TavAM::Point3d{0, 40, 0})) << "nobody asked for it";
    for (std::size_t one = 2; one < boxes.size(); ++one) {
        EXPECT_EQ(boxes[one].min.z, 0);
        EXPECT_EQ(boxes[one].min.x >= 0 && boxes[one].max.x <= 60 && boxes[one].min.y >= 0 && boxes[one].max.y <= 60,
                  one < 4)
            << one;
        for (std::size_t other = 0; other < one; ++other) {
            EXPECT_TRUE(boxes[one].min.x >= boxes[other].max.x || boxes[other].min.x >= boxes[one].max.x ||
                        boxes[one].min.y >= boxes[other].max.y || boxes[other].min.y >= boxes[one].max.y)
                << one << ' ' << other;
        }
    }
    EXPECT_FALSE(PartEdits::Arrange(*_host.scene, {}, bed));
    EXPECT_TRUE(Undo());
    EXPECT_EQ(GetParts()[2].GetBoundingBox().min.x, 300);
}

TEST_F(PartEditsTest, AStepOfASceneThatWasClosedIsHarmless)
{
    GetParts() = {MakePart(L"one", MakeBox(10, 20, 10), 10, 10)};
    EXPECT_TRUE(PartEdits::Delete(*_host.scene, {GetId(0)}));
    _host.GetDatabase().CloseDataSet(_host.scene);
    EXPECT_TRUE(Undo());
}

} // namespace
