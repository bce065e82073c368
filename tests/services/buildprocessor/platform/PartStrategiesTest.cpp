#include "buildprocessor/platform/PartStrategies.h"

#include <gmock/gmock.h>

namespace MachineService::BuildProcessor {

using Strategies = TavAM::Part::Strategies;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

const std::vector<PrintStrategy> Known = {{"std", "Standard", "part", {{"perimeters", "2"}}},
                                          {"fine", "Fine", "part", {{"perimeters", "3"}, {"layer_height", "0.1"}}},
                                          {"tree", "Tree", "support", {{"support_material", "1"}}},
                                          {"grid", "Grid", "support", {{"perimeters", "9"}}}};

struct Row
{
    const char* name;
    std::optional<Strategies> before;
    bool hasSupports;
    Strategies after;
    std::size_t kept;
    std::size_t assigned;
    std::vector<std::string> replaced;
};

const Row Rows[] = {
    {"never assigned", std::nullopt, false, {{L"part", L"std"}}, 0, 1, {}},
    {"never assigned, with supports", Strategies(), true, {{L"part", L"std"}, {L"support", L"tree"}}, 0, 2, {}},
    {"known ones stay",
     Strategies{{L"part", L"fine"}, {L"support", L"grid"}},
     true,
     {{L"part", L"fine"}, {L"support", L"grid"}},
     2,
     0,
     {}},
    {"supports are gone", Strategies{{L"part", L"fine"}, {L"support", L"grid"}}, false, {{L"part", L"fine"}}, 1, 0, {}},
    {"of another machine",
     Strategies{{L"part", L"\x05d0"}},
     false,
     {{L"part", L"std"}},
     0,
     0,
     {"The part 'p' had the strategy '\xd7\x90' for the role 'part', which the printer does not know; it now has "
      "'Standard'."}},
    {"known under another role only",
     Strategies{{L"part", L"tree"}},
     false,
     {{L"part", L"std"}},
     0,
     0,
     {"The part 'p' had the strategy 'tree' for the role 'part', which the printer does not know; it now has "
      "'Standard'."}},
    {"a role of another machine",
     Strategies{{L"infill", L"std"}},
     false,
     {{L"part", L"std"}},
     0,
     1,
     {"The part 'p' had the strategy 'std' for the role 'infill', which the printer does not have; it was taken "
      "away."}},
};

} // namespace

TEST(PartStrategies, GivesEachPartWhatTheMachineKnows)
{
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.name);
        TavAM::Platform platform;
        TavAM::Part& part = platform.GetParts().emplace_back();
        part.SetName(L"p");
        part.SetStrategies(row.before);
        part.SetHasSupports(row.hasSupports);
        const StrategyReport report = AssignStrategies(platform, Known);
        EXPECT_EQ(platform.GetParts()[0].GetStrategies(), row.after);
        EXPECT_EQ(report.kept, row.kept);
        EXPECT_EQ(report.assigned, row.assigned);
        EXPECT_EQ(report.replaced, row.replaced);
        for (const std::string& sentence : row.replaced)
            EXPECT_THAT(report.message, HasSubstr(sentence));

        EXPECT_EQ(AssignStrategies(platform, Known).kept, row.after.size()) << "a second time nothing changes";
        EXPECT_THAT(AssignStrategies(platform, {}).replaced, IsEmpty());
        EXPECT_EQ(platform.GetParts()[0].GetStrategies(), row.after) << "a machine without strategies changes nothing";
    }
}

TEST(PartStrategies, TellTheEngineWhatTheyStandFor)
{
    TavAM::Part part;
    EXPECT_THAT(GetEngineSettings(part, Known), IsEmpty());
    part.SetStrategies(Strategies{{L"part", L"fine"}, {L"support", L"grid"}});
    EXPECT_EQ(GetEngineSettings(part, Known), (EngineSettings{{"layer_height", "0.1"}, {"perimeters", "9"}}));
    part.SetStrategies(Strategies{{L"part", L"gone"}, {L"support", L"tree"}});
    EXPECT_EQ(GetEngineSettings(part, Known), (EngineSettings{{"support_material", "1"}}));
}

} // namespace MachineService::BuildProcessor
