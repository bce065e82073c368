#include "apps/WorkbenchFixture.h"

#include <gmock/gmock.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using WorkbenchTest = TestSupport::WorkbenchFixture;

TEST_F(WorkbenchTest, TakesMeshesToAMachineFileAndLeavesItsResults)
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

    // A second job of that name gets a folder of its own beside the first. What was chosen reaches the engine.
    const auto second = Run({QStringLiteral("--machine"), QStringLiteral("Halcyon D260"), QStringLiteral("--set"),
                             QStringLiteral("BuildProcessor.LayerHeight=0.3"), QStringLiteral("--set"),
                             QStringLiteral("BuildProcessor.Material=TPU 95A")});
    ASSERT_EQ(second.status, 0) << second.output << second.errors;
    EXPECT_THAT(second.output, HasSubstr("sent: BuildProcessor.LayerHeight = 0.3\n"));
    machineFile.close();
    ASSERT_TRUE(machineFile.open(QIODevice::ReadOnly));
    const QByteArray settings = machineFile.readAll();
    EXPECT_TRUE(settings.contains("\n; layer_height = 0.3\n"));
    EXPECT_TRUE(settings.contains("\n; temperature = 225\n"));
    EXPECT_EQ(FilesIn("tmp"), QStringList());
    int jobs = 0;
    for (const QString& file : FilesIn("out/machines"))
        jobs += file.endsWith(QLatin1String(".gcode")) ? 1 : 0;
    EXPECT_EQ(jobs, 2);
}

TEST_F(WorkbenchTest, RefusesWrongUsageAndFailsWithOneSentence)
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

TEST_F(WorkbenchTest, SpeaksTheFirstOfTheUsersLanguagesThatItKnows)
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

TEST_F(WorkbenchTest, ListsMachinesOfTheCatalogAndOfTheUsersProfiles)
{
    const auto outcome = Run({QStringLiteral("--list")});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_GE(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 5) << outcome.output;
    EXPECT_EQ(FilesIn("out"), QStringList()) << "a list is no result to keep";
}

TEST_F(WorkbenchTest, SaysWhyWhenTheResultsCannotBeWritten)
{
    WriteFile(Path("out"), "a file where the folder should be");
    const auto outcome = Run({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr(Path("out").toStdString()));
}

TEST_F(WorkbenchTest, EndsWith130AndLeavesNothingWhenInterruptedWhileTheEngineRuns)
{
    const QString engine = Path("engine");
    WriteFile(engine, "#!/bin/sh\necho $$ > \"" + Path("engine.pid").toUtf8() + "\"\nexec sleep 1000\n", true);
    SetVariable("MACHINESERVICE_ENGINE_PATH", engine);
    _process.start(QStringLiteral(WORKBENCH), {});
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(Path("engine.pid")); }, 30'000));

    QElapsedTimer timer;
    timer.start();
    ::kill(static_cast<pid_t>(_process.processId()), SIGINT);
    const auto outcome = Finish();
    EXPECT_LT(timer.elapsed(), 3000);
    EXPECT_EQ(outcome.status, 130) << outcome.output << outcome.errors;
    EXPECT_EQ(FilesIn("tmp"), QStringList());
    EXPECT_EQ(FilesIn("out"), QStringList());
    QFile pid(Path("engine.pid"));
    ASSERT_TRUE(pid.open(QIODevice::ReadOnly));
    // A process that was ended but not waited for yet counts as ended.
    QFile state(QStringLiteral("/proc/%1/stat").arg(pid.readAll().trimmed().toInt()));
    EXPECT_TRUE(!state.open(QIODevice::ReadOnly) || state.readAll().contains(") Z ")) << "the engine still runs";
}

TEST_F(WorkbenchTest, EndsWith130AndLeavesNothingWhenInterruptedWhileAMachineIsAwaited)
{
    const QByteArray pipe = QFile::encodeName(Path("pipe"));
    ASSERT_EQ(::mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);
    SetVariable("HELD_PIPE", Path("pipe"));
    SetVariable("LD_PRELOAD", QStringLiteral(HELD_MACHINE));
    // Where the program has one, its sanitizer wants to be first.
    SetVariable("ASAN_OPTIONS", qEnvironmentVariable("ASAN_OPTIONS") + QStringLiteral(":verify_asan_link_order=0"));
    const struct
    {
        const char* folder;
        const char* title;
        int signal;
    } rows[] = {{"1", "Get Platform Information", SIGINT}, {"2", "Get Empty Platform", SIGTERM}};
    for (const auto& row : rows) {
        SetVariable("HELD_FOLDER", QLatin1String(row.folder));
        _process.start(QStringLiteral(WORKBENCH), {});
        QByteArray output;
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return (output += _process.readAllStandardOutput()).contains(row.title); }, 30'000))
            << output.constData();
        ::kill(static_cast<pid_t>(_process.processId()), row.signal);
        QByteArray errors;
        EXPECT_TRUE(QTest::qWaitFor([&] { return !(errors += _process.readAllStandardError()).isEmpty(); }, 1500));
        // Only now the machine may go on.
        int writer = -1;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return (writer = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }, 5000));
        ::close(writer);
        const auto outcome = Finish();
        EXPECT_EQ(outcome.status, 130) << output.constData() << outcome.output;
        EXPECT_EQ(errors.toStdString() + outcome.errors, "Interrupted.\n");
        EXPECT_EQ(FilesIn("tmp"), QStringList());
        EXPECT_EQ(FilesIn("out"), QStringList());
    }
}

} // namespace
