#include "buildprocessor/commands/BuildReport.h"

#include "client/interface/ScopedTempDir.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/Texts.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Utf8.h"

#include <gmock/gmock.h>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace Names = TavAM::PropertyNames::Print3D;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

constexpr char Scene[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<HostScene xmlns="https://www.vexlor.example/AM/HostScene/2026/11"><Unknown><Part/></Unknown><Platform name="P">
<Machine name="M" manufacturer="" modelId=""><Properties><Property name="Print3D.Figures.JobName">not this</Property></Properties></Machine>
<Properties><Property name="Print3D.Figures.PrintTimeSeconds">4000</Property><Property name="Print3D.Figures.LayerCount">12</Property>
<Property name="Print3D.Figures.MaterialGrams">-2</Property><Property name="Print3D.Figures.JobName">job &amp; co</Property><Property name="u" undefined="true"/></Properties>
<Parts><Part id="0f7c3c1e-6a0c-4c1e-9f4e-2d7a61c0a101" name="&lt;script&gt;alert('x')&lt;/script&gt; &quot;א&quot;" supports="true">
<Placement>1 0 0 20 0 1 0 0 0 0 1 0</Placement><BoundingBox min="20 0 0" max="30 10 10.25"/>
<Strategies><Strategy role="part" id="fine"/></Strategies><Properties><Property name="Print3D.Figures.MaterialGrams">2.5</Property></Properties></Part>
<Part id="0f7c3c1e-6a0c-4c1e-9f4e-2d7a61c0a102" name="no mesh" supports="false"><Placement>1 0 0 0 0 1 0 0 0 0 1 0</Placement><Properties/></Part>
</Parts></Platform></HostScene>)";

HostScene Read(const std::string& i_text)
{
    const ScopedTempDir dir;
    const auto path = dir.GetAbsoluteFileNameInTempDir("scene.xml");
    TestSupport::WriteFile(path, i_text);
    return ReadHostScene(path);
}

MachineProfile MakeProfile()
{
    MachineProfile profile;
    profile.name = "Printer <1>";
    profile.bed.outline = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    profile.materials = {{"PLA & more", 1.24, 1.75, 200, 60, 0, 0}};
    profile.strategies = {{"fine", "Fine", "part", {}}};
    return profile;
}

} // namespace

TEST(HostScene, ReadsWhatTheHostWritesAndSkipsTheRest)
{
    const HostScene scene = Read(Scene);
    ASSERT_EQ(scene.platform.GetParts().size(), 2U);
    const TavAM::Part& part = scene.platform.GetParts()[0];
    EXPECT_EQ(part.GetName(), L"<script>alert('x')</script> \"\x05d0\"");
    EXPECT_TRUE(part.HasSupports());
    EXPECT_EQ(part.GetPlacement(), TavAM::Transform::Translation(20, 0, 0));
    EXPECT_EQ(part.GetStrategies()->at(L"part"), L"fine");
    EXPECT_EQ(scene.boxes[0].max, (TavAM::Point3d{30, 10, 10.25}));
    EXPECT_TRUE(scene.boxes[1].IsEmpty());
    EXPECT_EQ(scene.platform.GetAMXProperties().GetText(Names::JobName), L"job & co");
    EXPECT_EQ(scene.platform.GetAMXProperties().GetAll().at(L"u"), std::nullopt);
}

TEST(HostScene, NamesTheFileAndWhatIsDamaged)
{
    const std::string good = Scene;
    const std::pair<std::string, const char*> rows[] = {
        {good.substr(0, good.size() / 2), "scene.xml"},
        {"<HostScene/>", "There is no platform in it."},
        {TestSupport::Replaced(good, "1 0 0 20", "1 0 0"), "too short"},
        {TestSupport::Replaced(good, "1 0 0 20", "1 0 nan 20"), "numbers is damaged"},
        {TestSupport::Replaced(good, "1 0 0 20", "1 0 0 0 20"), "numbers is damaged"},
        {TestSupport::Replaced(good, "max=\"30", "max=\"1e30"), "numbers is damaged"},
        {TestSupport::Replaced(good, "0f7c3c1e-", "zf7c3c1e-"), "id of a part"},
        {TestSupport::Replaced(good, "<HostScene", "<!DOCTYPE a><HostScene"), "scene.xml"},
    };
    for (const auto& [text, reason] : rows) {
        const auto failure = TestSupport::GetFailure([&, &text = text] { Read(text); });
        EXPECT_EQ(failure.code, ErrorCode::FileError);
        EXPECT_THAT(failure.text, AllOf(HasSubstr("scene.xml"), HasSubstr(reason)));
    }
}

TEST(BuildReport, ShowsEstimatesAndEscapesEveryTextFromOutside)
{
    HostScene scene = Read(Scene);
    scene.platform.GetAMXProperties().SetText(Names::MachineFile, L"/jobs/\x01 \x202e<b>.gcode");
    const MachineProfile profile = MakeProfile();
    const auto time = std::chrono::system_clock::time_point(std::chrono::seconds(1'793'000'000));
    const std::string report = MakeBuildReport({scene, profile, profile.materials[0], 0.15, time});
    for (const char* const expected :
         {"<title>Build report: job &amp; co</title>", "<bdi>Printer &lt;1&gt;</bdi>",
          "<bdi>PLA &amp; more</bdi>, 1.24 g/cm&sup3;", "0.15 mm", "2026-10-26T07:33:20Z",
          "<bdi>&lt;script&gt;alert('x')&lt;/script&gt; &quot;\xd7\x90&quot;</bdi>", "1 h 7 min",
          "10.0 &times; 10.0 &times; 10.3", "<bdi>part</bdi>: <bdi>Fine</bdi>", "<td class=\"n\">2.50</td>",
          "<tr><th scope=\"row\">Material, g</th><td>\xe2\x80\x93</td></tr>", "/jobs/\xef\xbf\xbd ",
          "&lt;b&gt;.gcode</bdi>", "<rect class=\"part\" x=\"20.00\" y=\"-10.00\" width=\"10.00\" height=\"10.00\"/>"})
        EXPECT_THAT(report, HasSubstr(expected));
    EXPECT_THAT(report, Not(HasSubstr("<script")));
    EXPECT_TRUE(TavSDK::IsUtf8(report));
}

TEST(BuildReport, SaysThatThereAreNoEstimatesYet)
{
    HostScene scene = Read(Scene);
    scene.platform.GetAMXProperties().Clear();
    const MachineProfile profile = MakeProfile();
    const std::string report = MakeBuildReport({scene, profile, profile.materials[0], 0.15, {}});
    EXPECT_THAT(report,
                AllOf(HasSubstr("<title>Build report: P</title>"), HasSubstr("The platform has no estimates yet")));
    EXPECT_EQ(FormatDuration(59.4), "59 s");
    EXPECT_EQ(FormatDuration(3 * 86400 + 59), "3 d 0 h 1 min");
}
