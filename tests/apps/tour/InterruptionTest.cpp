#include "apps/tour/TourFixture.h"

#include <QTest>

#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using TestSupport::Texts;
using TestSupport::WriteFile;

/// The call that a run stands still at; see tools/callfaults/CallFaults.cpp.
struct Hold
{
    const char* call; ///< null: the engine never ends
    const char* paths = "";
    const char* threads = "others";
    const char* nth = "1";
};

class InterruptionTest : public TestSupport::TourFixture
{
protected:
    InterruptionTest()
    {
        EXPECT_EQ(::mkfifo(Path("pipe").c_str(), S_IRUSR | S_IWUSR), 0);
        SetVariable("FAULT_HOLD", Path("pipe"));
        SetVariable("FAULT_COUNTER", Path("counter"));
        SetVariable("FAULT_PROGRAM", "tour");
        // Where the program has one, its sanitizer wants to be first.
        SetVariable("ASAN_OPTIONS", qEnvironmentVariable("ASAN_OPTIONS").toStdString() + ":verify_asan_link_order=0");
    }

    void StartHeld(const Texts& i_arguments, const Hold& i_hold)
    {
        WriteFile(Path("counter"), std::string(8, '\0'));
        for (const auto& [name, value] : {std::pair("LD_PRELOAD", CALL_FAULTS),
                                          {"FAULT_CALL", i_hold.call},
                                          {"FAULT_PATHS", i_hold.paths},
                                          {"FAULT_THREADS", i_hold.threads},
                                          {"FAULT_NTH", i_hold.nth}})
            SetVariable(name, value);
        Start(_process, i_arguments);
        SetVariable("LD_PRELOAD", "");
        const auto isHeld = [&] {
            std::uint64_t count = 0;
            std::memcpy(&count, Read("counter").data(), sizeof count);
            return count >= std::stoul(i_hold.nth);
        };
        EXPECT_TRUE(QTest::qWaitFor(isHeld, 30'000)) << "no call to hold";
    }

    void Release()
    {
        int writer = -1;
        const auto isOpen = [&] {
            return (writer = ::open(Path("pipe").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0;
        };
        EXPECT_TRUE(QTest::qWaitFor(isOpen, 5000));
        ::close(writer);
    }

    void Kill(int i_signal)
    {
        const auto process = static_cast<pid_t>(_process.processId());
        ASSERT_GT(process, 0) << "it ended before";
        ::kill(process, i_signal);
    }

    std::string AwaitErrors()
    {
        QByteArray errors;
        EXPECT_TRUE(QTest::qWaitFor([&] { return !(errors += _process.readAllStandardError()).isEmpty(); }, 5000));
        return errors.toStdString();
    }

    /// An engine that never comes to an end.
    void SetSleepingEngine()
    {
        std::filesystem::remove(Path("engine.pid"));
        WriteScript("engine", "echo $$ > \"" + Path("engine.pid") + "\"\nexec sleep 1000\n");
        SetVariable("MACHINESERVICE_ENGINE_PATH", Path("engine"));
    }

    int AwaitEngine()
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return Read("engine.pid").size() > 1; }, 30'000));
        return std::atoi(Read("engine.pid").c_str());
    }

    static bool IsGone(int i_process)
    {
        // A process that was ended but not waited for yet counts as ended.
        const std::string state = TestSupport::ReadFile("/proc/" + std::to_string(i_process) + "/stat");
        return state.empty() || state.find(") Z ") != std::string::npos;
    }
};

TEST_F(InterruptionTest, LeavesWhatWasThereInWhateverPhaseASignalComes)
{
    const char* const placing = "Print3D.AutomaticPlacement";
    const struct
    {
        const char* phase;
        const char* command;
        Hold hold;
        int signal;
        bool isAwaited; ///< what stands still is a machine, which is not waited for
        int status;
    } rows[] = {
        {"information", placing, {"mkdir"}, SIGINT, true, 130},
        {"empty platform", placing, {"mkdir", "", "others", "2"}, SIGTERM, true, 130},
        {"estimating", "Print3D.PrintConsumptionEstimations", {nullptr}, SIGHUP, true, 130},
        {"placing", placing, {"open", "Scene.TavAMX"}, SIGHUP, true, 130},
        {"building", "Print3D.Print", {nullptr}, SIGTERM, true, 130},
        {"writing", placing, {"rename", "out/.run-", ""}, SIGHUP, false, 130},
        {"giving names", placing, {"rename", "out/platform.TavAMX", ""}, SIGINT, false, 0},
    };
    const Texts names = {Path("out/platform.TavAMX"), Path("out/transcript.txt")};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.phase);
        std::filesystem::remove_all(Path("out"));
        for (const std::string& name : names)
            WriteFile(name, "of a former run");
        const Texts arguments = {"--command", row.command, MakeMesh()};
        int engine = -1;
        if (row.hold.call) {
            SetVariable("MACHINESERVICE_ENGINE_PATH", "");
            StartHeld(arguments, row.hold);
        } else {
            SetSleepingEngine();
            Start(_process, arguments);
            engine = AwaitEngine();
        }
        Kill(row.signal);
        const std::string errors = row.isAwaited ? AwaitErrors() : "";
        if (row.hold.call)
            Release();
        const auto outcome = Finish(_process);
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_EQ(errors + outcome.errors, row.status == 0 ? "" : "Interrupted.\n");
        EXPECT_THAT(FilesIn("tmp"), IsEmpty());
        EXPECT_TRUE(engine < 0 || IsGone(engine)) << "the engine still runs";
        for (const std::string& name : names)
            EXPECT_EQ(TestSupport::ReadFile(name) == "of a former run", row.status != 0) << name;
        if (row.status != 0) {
            EXPECT_EQ(FilesIn("out"), names);
        }
    }
}

TEST_F(InterruptionTest, RemovesWhatAKilledRunLeftAndNothingOfAnotherRun)
{
    StartHeld({}, {"mkdir"});
    const Texts ofFirst = FilesIn("tmp");
    EXPECT_FALSE(ofFirst.empty());

    QProcess second;
    SetSleepingEngine();
    Start(second, {});
    const int engine = AwaitEngine();
    second.kill();
    EXPECT_TRUE(second.state() == QProcess::NotRunning || second.waitForFinished());
    ::kill(engine, SIGKILL);
    EXPECT_GT(FilesIn("tmp").size(), ofFirst.size()) << "nothing was left to remove";

    SetVariable("MACHINESERVICE_ENGINE_PATH", "");
    Start(second, {"--command", "Print3D.Print", MakeMesh()});
    const auto outcome = Finish(second);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(FilesIn("tmp"), ofFirst);

    // The first began when nothing was there; what another run made meanwhile stays all the same.
    const Texts results = FilesIn("out");
    EXPECT_THAT(FilesIn("out", "/out/part.gcode"), SizeIs(1));
    Kill(SIGINT);
    AwaitErrors();
    Release();
    EXPECT_EQ(Finish(_process).status, 130);
    EXPECT_THAT(FilesIn("tmp"), IsEmpty());
    for (const std::string& file : results)
        EXPECT_TRUE(std::filesystem::exists(file) || file.find("/.run-") != std::string::npos) << file;
    EXPECT_THAT(FilesIn("out", "/.run-"), IsEmpty());
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
        const auto outcome = RunShell(row.line);
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_THAT(outcome.errors, ContainsRegex(row.sentence));
        EXPECT_THAT(FilesIn("tmp"), IsEmpty());
        EXPECT_THAT(FilesIn("out", "/."), IsEmpty());
    }
}

} // namespace
