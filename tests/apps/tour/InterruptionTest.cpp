#include "apps/tour/TourFixture.h"

#include <gmock/gmock.h>

#include <QTest>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using TestSupport::Outcome;

const QByteArray Former = "of a former run";

/// Lets a run stand still at a certain call, see tests/support/CallFaults.cpp.
class InterruptionTest : public TestSupport::TourFixture
{
protected:
    InterruptionTest()
    {
        EXPECT_EQ(::mkfifo(QFile::encodeName(Path("pipe")).constData(), S_IRUSR | S_IWUSR), 0);
        SetVariable("FAULT_HOLD", Path("pipe"));
        SetVariable("FAULT_COUNTER", Path("counter"));
        SetVariable("FAULT_PROGRAM", QStringLiteral("tour"));
        // Where the program has one, its sanitizer wants to be first.
        SetVariable("ASAN_OPTIONS", qEnvironmentVariable("ASAN_OPTIONS") + QStringLiteral(":verify_asan_link_order=0"));
    }

    void StartHeld(const QStringList& i_arguments, const std::map<const char*, QString>& i_fault)
    {
        WriteFile(Path("counter"), QByteArray(8, '\0'));
        SetVariable("LD_PRELOAD", QStringLiteral(CALL_FAULTS));
        for (const char* name : {"FAULT_CALL", "FAULT_PATHS", "FAULT_THREADS", "FAULT_NTH"})
            SetVariable(name, i_fault.contains(name) ? i_fault.at(name) : QStringLiteral("1"));
        Start(i_arguments);
        const auto nth = i_fault.contains("FAULT_NTH") ? i_fault.at("FAULT_NTH").toULongLong() : 1;
        EXPECT_TRUE(QTest::qWaitFor([&] { return _CountCalls() >= nth; }, 30'000)) << "no call to hold";
        SetVariable("LD_PRELOAD", QString());
    }

    void Release()
    {
        const QByteArray pipe = QFile::encodeName(Path("pipe"));
        int writer = -1;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return (writer = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }, 5000));
        ::close(writer);
    }

    void Kill(int i_signal)
    {
        const auto process = static_cast<pid_t>(_process.processId());
        ASSERT_GT(process, 0) << "it ended before";
        ::kill(process, i_signal);
    }

    /// An engine that never comes to an end.
    void SetSleepingEngine()
    {
        WriteFile(Path("engine"), "#!/bin/sh\necho $$ > \"" + Path("engine.pid").toUtf8() + "\"\nexec sleep 1000\n",
                  true);
        SetVariable("MACHINESERVICE_ENGINE_PATH", Path("engine"));
    }

    void AwaitEngine()
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return QFileInfo(Path("engine.pid")).size() > 0; }, 30'000));
    }

    bool IsEngineGone() const
    {
        // A process that was ended but not waited for yet counts as ended.
        QFile state(QStringLiteral("/proc/%1/stat").arg(ReadFile("engine.pid").trimmed().toInt()));
        return !state.open(QIODevice::ReadOnly) || state.readAll().contains(") Z ");
    }

    QByteArray ReadFile(const char* ip_name) const
    {
        QFile file(Path(ip_name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << ip_name;
        return file.readAll();
    }

private:
    std::uint64_t _CountCalls() const
    {
        std::uint64_t count = 0;
        std::memcpy(&count, ReadFile("counter").constData(), sizeof count);
        return count;
    }
};

TEST_F(InterruptionTest, LeavesWhatWasThereInWhateverPhaseASignalComes)
{
    const auto run = [this](const char* ip_command) {
        return QStringList({QStringLiteral("--command"), QLatin1String(ip_command), MakeMesh()});
    };
    const char* const placing = "Print3D.AutomaticPlacement";
    const std::map<const char*, QString> engine;
    const auto hold = [](const char* ip_call, const char* ip_paths, const char* ip_threads, const char* ip_nth) {
        return std::map<const char*, QString>{{"FAULT_CALL", QLatin1String(ip_call)},
                                              {"FAULT_PATHS", QLatin1String(ip_paths)},
                                              {"FAULT_THREADS", QLatin1String(ip_threads)},
                                              {"FAULT_NTH", QLatin1String(ip_nth)}};
    };
    const struct
    {
        const char* phase;
        QStringList arguments;
        std::map<const char*, QString> fault; ///< empty: the engine never ends
        int signal;
        bool isAwaited; ///< what stands still is a machine, which is not waited for
        int status;
    } rows[] = {
        {"information", run(placing), hold("mkdir", "", "others", "1"), SIGINT, true, 130},
        {"empty platform", run(placing), hold("mkdir", "", "others", "2"), SIGTERM, true, 130},
        {"estimating", run("Print3D.PrintConsumptionEstimations"), engine, SIGHUP, true, 130},
        {"placing", run(placing), hold("open", "Scene.TavAMX", "others", "1"), SIGHUP, true, 130},
        {"building", run("Print3D.Print"), engine, SIGTERM, true, 130},
        {"writing", run(placing), hold("rename", "out/.run-", "", "1"), SIGHUP, false, 130},
        {"giving names", run(placing), hold("rename", "out/platform.TavAMX", "", "1"), SIGINT, false, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.phase);
        QDir(Path("out")).removeRecursively();
        QDir(_dir.path()).mkdir(QStringLiteral("out"));
        QFile::remove(Path("engine.pid"));
        QStringList names;
        for (const char* name : {"platform.TavAMX", "transcript.txt"}) {
            names << Path("out/") + QLatin1String(name);
            WriteFile(names.back(), Former);
        }
        if (row.fault.empty()) {
            SetSleepingEngine();
            Start(row.arguments);
            AwaitEngine();
        } else {
            RemoveVariable("MACHINESERVICE_ENGINE_PATH");
            StartHeld(row.arguments, row.fault);
        }
        Kill(row.signal);
        QByteArray errors;
        if (row.isAwaited) {
            EXPECT_TRUE(QTest::qWaitFor([&] { return !(errors += _process.readAllStandardError()).isEmpty(); }, 5000));
        }
        if (!row.fault.empty())
            Release();
        const auto outcome = Finish();
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_EQ(errors.toStdString() + outcome.errors, row.status == 0 ? "" : "Interrupted.\n");
        EXPECT_EQ(FilesIn("tmp"), QStringList());
        EXPECT_TRUE(!row.fault.empty() || IsEngineGone()) << "the engine still runs";
        for (const QString& name : names)
            EXPECT_EQ(ReadFile(QDir(_dir.path()).relativeFilePath(name).toUtf8().constData()) == Former,
                      row.status != 0)
                << name.toStdString();
        if (row.status != 0) {
            EXPECT_EQ(FilesIn("out"), names);
        }
    }
}

TEST_F(InterruptionTest, RemovesWhatAKilledRunLeftAndNothingOfAnotherRun)
{
    StartHeld({}, {{"FAULT_CALL", QStringLiteral("mkdir")},
                   {"FAULT_THREADS", QStringLiteral("others")},
                   {"FAULT_PATHS", QString()}});
    const QStringList ofFirst = FilesIn("tmp");
    EXPECT_NE(ofFirst, QStringList());

    QProcess second;
    SetSleepingEngine();
    second.setProcessEnvironment(_process.processEnvironment());
    second.start(QStringLiteral(TOUR_PROGRAM), {});
    AwaitEngine();
    second.kill();
    EXPECT_TRUE(second.waitForFinished());
    ::kill(ReadFile("engine.pid").trimmed().toInt(), SIGKILL);
    EXPECT_GT(FilesIn("tmp").size(), ofFirst.size()) << "nothing was left to remove";

    RemoveVariable("MACHINESERVICE_ENGINE_PATH");
    second.setProcessEnvironment(_process.processEnvironment());
    second.start(QStringLiteral(TOUR_PROGRAM),
                 {QStringLiteral("--command"), QStringLiteral("Print3D.Print"), MakeMesh()});
    EXPECT_TRUE(second.waitForFinished(60'000));
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().constData();
    EXPECT_EQ(FilesIn("tmp"), ofFirst);

    // The first began when nothing was there; what another run made meanwhile stays all the same.
    const auto results = FilesIn("out");
    EXPECT_TRUE(results.contains(Path("out/part.gcode")));
    Kill(SIGINT);
    QByteArray errors;
    EXPECT_TRUE(QTest::qWaitFor([&] { return !(errors += _process.readAllStandardError()).isEmpty(); }, 5000));
    Release();
    EXPECT_EQ(Finish().status, 130);
    EXPECT_EQ(FilesIn("tmp"), QStringList());
    const auto left = FilesIn("out");
    for (const QString& file : results)
        EXPECT_TRUE(left.contains(file) || file.contains(QLatin1String("/.run-"))) << file.toStdString();
    EXPECT_TRUE(left.filter(QStringLiteral("/.run-")).isEmpty());
}

TEST_F(InterruptionTest, EndsInOneSentenceWhereNothingCanBeWrittenOrPrinted)
{
    const struct
    {
        const char* line;
        int status;
        const char* sentence; ///< a regular expression
    } rows[] = {
        {R"("$0" >/dev/full)", 1, "^The output cannot be printed: No space left on device\\.\n$"},
        {R"("$0" >&-)", 1, "^The output cannot be printed: Bad file descriptor\\.\n$"},
        {R"("$0" | head -n 1; exit ${PIPESTATUS[0]})", 1, "^The output cannot be printed: Broken pipe\\.\n$"},
        {R"("$0" --help >/dev/full)", 1, "^The output cannot be printed: No space left on device\\.\n$"},
        {R"("$0" --list 2>&-)", 0, "^$"},
        {R"(TMPDIR=tmp "$0" --list)", 0, "^$"},
        {R"(TMPDIR=none "$0" --list)", 1, "^The folder for temporary files cannot be used: .*\\.\n$"},
        {R"(TMPDIR=/proc "$0" --list)", 1, "^No folder can be made in '/proc': .*\\.\n$"},
        {R"(MACHINESERVICE_OUT_DIR=/proc/none "$0")", 1, "^The folder '/proc/none' cannot be made: .*\\.\n$"},
        {R"(MACHINESERVICE_OUT_DIR=/proc "$0")", 1, "^No folder can be made in '/proc': .*\\.\n$"},
        {R"(ulimit -f 1; "$0" --export-config)", 1, "^Error writing PLDF file\\.\n$"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const Outcome outcome = RunShell(row.line);
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_THAT(outcome.errors, ContainsRegex(row.sentence));
        EXPECT_EQ(FilesIn("tmp"), QStringList());
        EXPECT_TRUE(FilesIn("out").filter(QStringLiteral("/.")).isEmpty());
    }
}

} // namespace
