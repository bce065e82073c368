#include "apps/tour/TourFixture.h"

namespace {

using TestSupport::Texts;
using TourTest = TestSupport::TourFixture;

TEST_F(TourTest, TakesMeshesToAMachineFileAndLeavesItsResults)
{
    const auto outcome = Run({});
    ASSERT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
    for (const char* text : {"reopened, the same", "100 %", "sent: BuildProcessor.LayerHeight = 0.2\n"})
        EXPECT_THAT(outcome.output, HasSubstr(text));
    EXPECT_EQ(Read("out/transcript.txt"), outcome.output);
    EXPECT_TRUE(std::filesystem::exists(Path("out/platform.TavAMX")));
    EXPECT_THAT(Read("out/box.gcode"), HasSubstr("\nG1 "));
    EXPECT_THAT(FilesIn("tmp"), IsEmpty());
}

TEST_F(TourTest, BuildsWhatWasChosenAndGivesEachJobOfANameItsFolder)
{
    ASSERT_EQ(Run({"--command", "Print3D.Print", MakeMesh()}).status, 0);
    const auto second = Run({"--machine", "Halcyon D260", "--set", "BuildProcessor.LayerHeight=0.3", "--set",
                             "BuildProcessor.Material=TPU 95A", "--command", "Print3D.Print", Path("part.stl")});
    ASSERT_EQ(second.status, 0) << second.output << second.errors;
    EXPECT_THAT(second.output, HasSubstr("sent: BuildProcessor.LayerHeight = 0.3\n"));
    for (const char* setting : {"\n; layer_height = 0.3\n", "\n; temperature = 225\n"})
        EXPECT_THAT(Read("out/part.gcode"), HasSubstr(setting));
    EXPECT_THAT(FilesIn("tmp"), IsEmpty());
    EXPECT_THAT(FilesIn("out/machines", ".gcode"), SizeIs(2));
}

TEST_F(TourTest, RefusesWrongUsageAndFailsWithOneSentence)
{
    const std::string text = Path("text.stl");
    TestSupport::WriteFile(text, "this is not a mesh");
    const struct
    {
        Texts arguments;
        int status;
        const char* sentence;
    } rows[] = {
        {{"--nonsense"}, 2, "nonsense"},
        {{"--machine"}, 2, "machine"},
        {{"--list", text}, 2, "--list"},
        {{"--list", "--set", "a=b"}, 2, "--list"},
        {{"--set", "layer"}, 2, "'layer'"},
        {{"--set", "=0.2"}, 2, "'=0.2'"},
        {{"--set", "a=1", "--set", "a=2"}, 2, "'a'"},
        {{"--set", "Farbe=wei\u00df"}, 1, "'Farbe'; it offers BuildProcessor.Material, "},
        {{"--set", "BuildProcessor.Material=Wei\u00df"}, 1, "'Wei\u00df'; it offers PLA, "},
        {{"--machine", "No Such Printer"}, 1, "No Such Printer"},
        {{Path("absent.stl")}, 1, "absent.stl"},
        {{text}, 1, "text.stl"},
    };
    for (const auto& row : rows) {
        const auto outcome = Run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.output << outcome.errors;
        EXPECT_THAT(outcome.errors, HasSubstr(row.sentence));
        if (row.status == 1) {
            EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
        }
        EXPECT_THAT(FilesIn("tmp"), IsEmpty());
    }
    EXPECT_EQ(Run({"--help"}).status, 0);
}

TEST_F(TourTest, SpeaksTheFirstOfTheUsersLanguagesThatItKnows)
{
    for (const auto& [locale, languages, sentence] : {std::tuple("de_DE.UTF-8", "", "Versuchen Sie --help."),
                                                      {"fr_FR.UTF-8", "fr:de", "Versuchen Sie --help."},
                                                      {"de_DE.UTF-8", "fr:en:de", "Try --help."},
                                                      {"fr_FR.UTF-8", "", "Try --help."},
                                                      {"C", "de", "Try --help."}}) {
        SetVariable("LC_ALL", locale);
        SetVariable("LANGUAGE", languages);
        EXPECT_THAT(Run({"--nonsense"}).errors, HasSubstr(sentence)) << locale << ' ' << languages;
    }
    // The library's own texts come through the program too.
    SetVariable("LC_ALL", "de_DE.UTF-8");
    SetVariable("LANGUAGE", "");
    const auto outcome = Run({"--command", "Print3D.AutomaticPlacement"});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("Automatische Platzierung"));
}

TEST_F(TourTest, ListsMachinesOfTheCatalogAndOfTheUsersProfiles)
{
    const auto outcome = Run({"--list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_GE(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 5) << outcome.output;
    EXPECT_THAT(FilesIn("out"), IsEmpty()) << "a list is no result to keep";
}

TEST_F(TourTest, SaysWhyWhenTheResultsCannotBeWritten)
{
    TestSupport::WriteFile(Path("out"), "a file where the folder should be");
    const auto outcome = Run({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr(Path("out")));
}

} // namespace
