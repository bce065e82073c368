#include "apps/tour/TourFixture.h"

#include <gmock/gmock.h>

#include <QFile>

#include <algorithm>

namespace {

using ::testing::HasSubstr;
using TourTest = TestSupport::TourFixture;

TEST_F(TourTest, TakesMeshesToAMachineFileAndLeavesItsResults)
{
    const auto outcome = Run({});
    ASSERT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("reopened, the same"));
    EXPECT_THAT(outcome.output, HasSubstr("100 %"));

    QFile transcript(Path("out/transcript.txt"));
    ASSERT_TRUE(transcript.open(QIODevice::ReadOnly));
    EXPECT_EQ(transcript.readAll().toStdString(), outcome.output);
    EXPECT_TRUE(QFile::exists(Path("out/platform.TavAMX")));
    QFile machineFile(Path("out/box.gcode"));
    ASSERT_TRUE(machineFile.open(QIODevice::ReadOnly));
    EXPECT_TRUE(machineFile.readAll().contains("\nG1 "));
    EXPECT_EQ(FilesIn("tmp"), QStringList());

    EXPECT_THAT(outcome.output, HasSubstr("sent: BuildProcessor.LayerHeight = 0.2\n"));
}

TEST_F(TourTest, BuildsWhatWasChosenAndGivesEachJobOfANameItsFolder)
{
    const QStringList build = {QStringLiteral("--command"), QStringLiteral("Print3D.Print"), MakeMesh()};
    ASSERT_EQ(Run(build).status, 0);
    const auto second = Run(QStringList({QStringLiteral("--machine"), QStringLiteral("Halcyon D260"),
                                         QStringLiteral("--set"), QStringLiteral("BuildProcessor.LayerHeight=0.3"),
                                         QStringLiteral("--set"), QStringLiteral("BuildProcessor.Material=TPU 95A")}) +
                            build);
    ASSERT_EQ(second.status, 0) << second.output << second.errors;
    EXPECT_THAT(second.output, HasSubstr("sent: BuildProcessor.LayerHeight = 0.3\n"));
    QFile machineFile(Path("out/part.gcode"));
    ASSERT_TRUE(machineFile.open(QIODevice::ReadOnly));
    const QByteArray settings = machineFile.readAll();
    EXPECT_TRUE(settings.contains("\n; layer_height = 0.3\n"));
    EXPECT_TRUE(settings.contains("\n; temperature = 225\n"));
    EXPECT_EQ(FilesIn("tmp"), QStringList());
    EXPECT_EQ(FilesIn("out/machines").filter(QStringLiteral(".gcode")).size(), 2);
}

TEST_F(TourTest, RefusesWrongUsageAndFailsWithOneSentence)
{
    const QString text = Path("text.stl");
    WriteFile(text, "this is not a mesh");
    const struct
    {
        QStringList arguments;
        int status;
        const char* sentence;
    } rows[] = {
        {{QStringLiteral("--nonsense")}, 2, "nonsense"},
        {{QStringLiteral("--machine")}, 2, "machine"},
        {{QStringLiteral("--list"), text}, 2, "--list"},
        {{QStringLiteral("--list"), QStringLiteral("--set"), QStringLiteral("a=b")}, 2, "--list"},
        {{QStringLiteral("--set"), QStringLiteral("layer")}, 2, "'layer'"},
        {{QStringLiteral("--set"), QStringLiteral("=0.2")}, 2, "'=0.2'"},
        {{QStringLiteral("--set"), QStringLiteral("a=1"), QStringLiteral("--set"), QStringLiteral("a=2")}, 2, "'a'"},
        {{QStringLiteral("--set"), QStringLiteral("Farbe=weiß")}, 1, "'Farbe'; it offers BuildProcessor.Material, "},
        {{QStringLiteral("--set"), QStringLiteral("BuildProcessor.Material=Weiß")}, 1, "'Weiß'; it offers PLA, "},
        {{QStringLiteral("--machine"), QStringLiteral("No Such Printer")}, 1, "No Such Printer"},
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
        EXPECT_EQ(FilesIn("tmp"), QStringList());
    }
    EXPECT_EQ(Run({QStringLiteral("--help")}).status, 0);
}

TEST_F(TourTest, SpeaksTheFirstOfTheUsersLanguagesThatItKnows)
{
    const struct
    {
        const char* locale;
        const char* languages;
        const char* sentence;
    } rows[] = {
        {"de_DE.UTF-8", "", "Versuchen Sie --help."},
        {"fr_FR.UTF-8", "fr:de", "Versuchen Sie --help."},
        {"de_DE.UTF-8", "fr:en:de", "Try --help."},
        {"fr_FR.UTF-8", "", "Try --help."},
        {"C", "de", "Try --help."},
    };
    for (const auto& row : rows) {
        SetVariable("LC_ALL", QLatin1String(row.locale));
        SetVariable("LANGUAGE", QLatin1String(row.languages));
        EXPECT_THAT(Run({QStringLiteral("--nonsense")}).errors, HasSubstr(row.sentence))
            << row.locale << ' ' << row.languages;
    }
    // The library's own texts come through the program too.
    SetVariable("LC_ALL", QStringLiteral("de_DE.UTF-8"));
    const auto outcome = Run({QStringLiteral("--command"), QStringLiteral("Print3D.AutomaticPlacement")});
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("Automatische Platzierung"));
}

TEST_F(TourTest, ListsMachinesOfTheCatalogAndOfTheUsersProfiles)
{
    const auto outcome = Run({QStringLiteral("--list")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_GE(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 5) << outcome.output;
    EXPECT_EQ(FilesIn("out"), QStringList()) << "a list is no result to keep";
}

TEST_F(TourTest, SaysWhyWhenTheResultsCannotBeWritten)
{
    WriteFile(Path("out"), "a file where the folder should be");
    const auto outcome = Run({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr(Path("out").toStdString()));
}

} // namespace
