#include "buildprocessor/platform/PartStrategies.h"

#include "tavsdk/Utf8.h"

#include <gmock/gmock.h>

#include <sstream>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

using Strategies = TavAM::Part::Strategies;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

const std::vector<PrintStrategy> Known = {{"std", "Standard", "part", {{"perimeters", "2"}}},
                                          {"fine", "Fine", "part", {{"perimeters", "3"}, {"layer_height", "0.1"}}},
                                          {"tree", "Tree", "support", {{"support_material", "1"}}},
                                          {"grid", "Grid", "support", {{"perimeters", "9"}}}};

/// "part=fine support=grid".
Strategies Parse(const std::string& i_text)
{
    Strategies strategies;
    std::istringstream words(i_text);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        strategies[TavSDK::ToWide(word.substr(0, equals))] = TavSDK::ToWide(word.substr(equals + 1));
    }
    return strategies;
}

struct Row
{
    const char* before; ///< empty: never assigned
    bool hasSupports;
    const char* after;
    std::size_t kept, assigned;
    std::string replaced; ///< behind "The part 'p' had the strategy "; empty: none was
};

} // namespace

TEST(PartStrategies, GivesEachPartWhatTheMachineKnows)
{
    const std::string standard = " for the role 'part', which the printer does not know; it now has 'Standard'.";
    const Row rows[] = {
        {"", false, "part=std", 0, 1, ""},
        {"", true, "part=std support=tree", 0, 2, ""},
        {"part=fine support=grid", true, "part=fine support=grid", 2, 0, ""},
        {"part=fine support=grid", false, "part=fine", 1, 0, ""},
        {"part=\xd7\x90", false, "part=std", 0, 0, "'\xd7\x90'" + standard},
        {"part=tree", false, "part=std", 0, 0, "'tree'" + standard},
        {"infill=std", false, "part=std", 0, 1,
         "'std' for the role 'infill', which the printer does not have; it was taken away."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        TavAM::Platform platform;
        TavAM::Part& part = platform.GetParts().emplace_back();
        part.SetName(L"p");
        if (*row.before)
            part.SetStrategies(Parse(row.before));
        part.SetHasSupports(row.hasSupports);
        const StrategyReport report = AssignStrategies(platform, Known);
        const auto& strategies = platform.GetParts()[0].GetStrategies();
        EXPECT_EQ(strategies, Parse(row.after));
        EXPECT_EQ(report.kept, row.kept);
        EXPECT_EQ(report.assigned, row.assigned);
        ASSERT_EQ(report.replaced.size(), row.replaced.empty() ? 0U : 1U);
        if (!row.replaced.empty()) {
            EXPECT_EQ(report.replaced[0], "The part 'p' had the strategy " + row.replaced);
            EXPECT_THAT(report.message, HasSubstr(report.replaced[0]));
        }
        EXPECT_EQ(AssignStrategies(platform, Known).kept, strategies->size()) << "a second time nothing changes";
        EXPECT_THAT(AssignStrategies(platform, {}).replaced, IsEmpty());
        EXPECT_EQ(strategies, Parse(row.after)) << "a machine without strategies changes nothing";
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
