#include "services/ServiceFixture.h"

#include "buildprocessor/engine/SettingsCheck.h"
#include "buildprocessor/engine/SlicingResult.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/machines/ShippedProfiles.h"

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using namespace Testing;

class SettingsCheckTest : public ::testing::Test
{
protected:
    std::string Check(const std::string& i_profile)
    {
        const auto fault = FindSettingsFault(ReadProfile(i_profile, "test").profile, engine, cache, {});
        return fault ? fault->field + ' ' + fault->reason : std::string();
    }

    std::optional<std::string> engine;
    const ScopedTempDir dir;
    const ContentCache cache{dir.GetAbsoluteDir() / "cache", {}};
};

using RealSettingsCheckTest = WithEngine<SettingsCheckTest>;

TEST_F(RealSettingsCheckTest, ValuesThatTheEngineWouldReplaceAreNamedWithTheirField)
{
    const std::pair<std::string, std::string> rows[] = {
        {R"("fill_pattern": "honeycombb")",
         "engine.fill_pattern is 'honeycombb', of which the slicing engine would make"},
        {R"("gcode_flavor": "Klipper")", "engine.gcode_flavor is 'Klipper'"},
        {R"("retract_length": "abc")", "engine.retract_length is 'abc'"},
        {R"("perimeters": "2.7")", "engine.perimeters is '2.7'"},
        {R"("retract_length": "1.5mm")", "engine.retract_length is '1.5mm'"},
        {R"("fill_density": 15)", "engine.fill_density has a value that the slicing engine does not allow"},
        {R"("fan_always_on": 2)", "engine.fan_always_on has a value that the slicing engine does not know"},
        {R"("start_gcode": "G28 [nosuch]")",
         "engine.start_gcode is not understood by the slicing engine: Parsing error"},
        {R"("end_gcode": "M117 {1+}")", "engine.end_gcode is not understood"},
        {R"("gcode_flavor": "mach3")",
         "engine.gcode_flavor is 'mach3', a dialect in which it is not known how heaters"},
        {R"("fill_pattern": "gyroid", "fill_density": "15%", "infill_speed": 60.5, "extrusion_width": "105%",
            "start_gcode": "G28\nM109 S[first_layer_temperature]\nG1 Z5 F{30*60} ; \"up\"",
            "end_gcode": "{if layer_z < 10}G1 Z10{endif}\nM117 done", "gcode_flavor": "marlin2",
            "machine_max_feedrate_x": "200", "cooling": true, "first_layer_height": "75%", "seam_position": "rear")",
         ""},
    };
    for (const auto& [settings, text] : rows) {
        const std::string found = Check(Replaced(MakeProfile(), R"("perimeters": 2)", settings));
        EXPECT_TRUE(text.empty() ? found.empty() : found.starts_with(text)) << settings << '\n' << found;
    }
    EXPECT_TRUE(Check(Replaced(MakeProfile(), R"("role": "part"})",
                               R"("role": "part"}, {"id": "s2", "name": "n", "engine": {"seam_position": "Left"}})"))
                    .starts_with("strategies[1].engine.seam_position is 'Left'"));
    for (const auto& [name, text] : GetShippedProfiles())
        EXPECT_EQ(Check(text), "") << name;
}

TEST_F(RealSettingsCheckTest, AnAnswerIsRememberedAndASilentEngineKnowsNothing)
{
    const auto script = dir.GetAbsoluteDir() / "engine.sh";
    const auto runs = dir.GetAbsoluteDir() / "runs";
    WriteFile(script, "#!/bin/sh\necho run >> " + runs.string() + "\nexec prusa-slicer \"$@\"\n");
    chmod(script.c_str(), 0700);
    engine = script.string();
    const std::string wrong = Replaced(MakeProfile(), R"("perimeters": 2)", R"("fill_pattern": "x")");
    const std::string first = Check(wrong);
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(Check(wrong), first);
    EXPECT_EQ(ReadFile(runs), "run\n");
    for (const std::optional<std::string>& silent :
         {std::optional<std::string>("/nowhere"), std::optional<std::string>("/bin/false")}) {
        engine = silent;
        EXPECT_EQ(Check(wrong), "");
    }
}

TEST(SlicingResult, ReadsBackAsItWasAndRefusesEverythingElse)
{
    SlicingResult result;
    result.estimates = {20, 1234.5, 99.125, 0.3, 1e-7, {{20, 50.5}, {10, 48}}};
    result.notes = {"The part 'ä' is thin.", ""};
    const std::string text = ToText(result);
    const auto read = ReadSlicingResult(text);
    ASSERT_TRUE(read);
    EXPECT_EQ(ToText(*read), text);
    EXPECT_EQ(read->notes, result.notes);
    EXPECT_EQ(read->estimates.parts[1].millimetres, 48);
    for (std::size_t size = 0; size < text.size(); ++size)
        EXPECT_FALSE(ReadSlicingResult(text.substr(0, size))) << size;
    EXPECT_FALSE(ReadSlicingResult(text + "\n"));
    EXPECT_FALSE(ReadSlicingResult("1\n2\n\n3\n4\n99999999999999\n"));
}

} // namespace
