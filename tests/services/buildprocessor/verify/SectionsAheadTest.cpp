#include "services/ServiceFiles.h"

#include "buildprocessor/verify/SectionsAhead.h"

#include <cmath>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using Cuts = std::vector<LayerCut>;

constexpr RowGrid Grid{0, 0.5};

Cuts MakeCuts(int i_count, double i_step, double i_shrink = 1, double i_first = 0.5)
{
    Cuts cuts;
    for (int number = 0; number < i_count; ++number)
        cuts.push_back({i_first + number * i_step, i_shrink, 0.5});
    return cuts;
}

TEST(SectionsAhead, GiveTheSameWhateverWasExpectedAndHoweverMuchFits)
{
    std::vector<PartGeometry> parts;
    for (const float size : {20.0F, 10.0F})
        parts.push_back(GetGeometry(
            Testing::MakePart(L"part", Testing::ToRepresentation(Testing::MakeBox(3, 3, 0, size, size, 20))), 0));
    const struct
    {
        const char* what;
        Cuts expected;
        std::size_t bytes;
    } rows[] = {
        {"as it comes", MakeCuts(40, 0.5), 1'000'000'000},
        {"one at a time", MakeCuts(40, 0.5), 1},
        {"nothing", {}, 1'000'000'000},
        {"other heights", MakeCuts(57, 0.35), 1'000'000'000},
        {"some of them", MakeCuts(20, 1), 1'000'000'000},
        {"other margins", MakeCuts(40, 0.5, 2), 1'000'000'000},
        {"too few", MakeCuts(5, 0.5), 1'000'000'000},
        {"too high to begin with", MakeCuts(10, 0.5, 1, 15), 1'000'000'000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        SectionsAhead sections(parts, Grid, {row.expected, row.expected}, row.bytes);
        for (const LayerCut& cut : MakeCuts(39, 0.5)) {
            for (std::size_t index = 0; index < parts.size(); ++index) {
                LayerAreas areas = sections.Take(index, cut);
                const double size = index == 0 ? 20 : 10;
                EXPECT_NEAR(areas.section.GetArea().GetArea(), size * size, size);
                EXPECT_NEAR(areas.inner.GetArea(), (size - 2) * (size - 2), size);
                EXPECT_NEAR(areas.outer.GetArea(), (size + 1) * (size + 1), size);
                EXPECT_TRUE(areas.section.IsOutlineNear(2.5, 10, 0.6));
                EXPECT_FALSE(areas.section.IsOutlineNear(2.5, 10, 0.4));
            }
        }
    }
}

TEST(SectionsAhead, AFaceThatLiesLevelWhereItIsCutMayBeThereOrNot)
{
    const std::vector<PartGeometry> parts{
        GetGeometry(Testing::MakePart(L"part", Testing::ToRepresentation(Testing::MakeBox(3, 3, 0, 20, 20, 10))), 0)};
    const struct
    {
        double z;
        bool isSure, isPossible;
    } rows[] = {
        {9.99, true, true}, {9.9999, false, true}, {10, false, true}, {10.0001, false, true}, {10.01, false, false}};
    for (const auto& row : rows) {
        SectionsAhead sections(parts, Grid, {{}});
        LayerAreas areas = sections.Take(0, {row.z, 1, 1});
        EXPECT_EQ(areas.sure.IsEmpty(), !row.isSure) << row.z;
        EXPECT_EQ(areas.inner.IsEmpty(), !row.isSure) << row.z;
        EXPECT_EQ(areas.outer.IsEmpty(), !row.isPossible) << row.z;
        EXPECT_EQ(areas.section.IsOutlineNear(3, 10, 0.1), row.isPossible) << row.z;
    }
}

TEST(SectionsAhead, GoAtOnceWithWorkLeftAndUnasked)
{
    const std::vector<PartGeometry> parts{GetGeometry(
        Testing::MakePart(L"part", Testing::ToRepresentation(Testing::MakeBox(0, 0, 0, 100, 100, 100))), 0)};
    for (const std::size_t bytes : {std::size_t{1}, std::size_t{1'000'000'000}}) {
        const auto begin = std::chrono::steady_clock::now();
        SectionsAhead(parts, {0, 0.1}, {MakeCuts(100'000, 0.001)}, bytes);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    }
}

} // namespace
