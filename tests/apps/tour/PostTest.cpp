#include "apps/tour/TourFixture.h"

#include <csignal>
#include <regex>

namespace {

using TestSupport::Texts;

/// The real program and the user's own manager, which outlives it.
class PostTest : public TestSupport::TourFixture
{
protected:
    PostTest()
    {
        SetVariable("XDG_RUNTIME_DIR", Path("run"));
        SetVariable("XDG_DATA_HOME", Path("data"));
        std::filesystem::create_directory(Path("run"));
        std::filesystem::permissions(Path("run"), std::filesystem::perms(0700));
        WriteScript("manager", "echo $$ >>'" + Path("pids") + "'\nexec '" MACHINED_PROGRAM "' \"$@\"\n");
        SetVariable("MACHINESERVICE_MANAGER_PROGRAM", Path("manager"));
    }
    ~PostTest() override
    {
        for (const auto pid : GetManagers())
            kill(pid, SIGTERM);
        // Its lock goes with it.
        for (const auto pid : GetManagers()) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            while (kill(pid, 0) == 0 && std::chrono::steady_clock::now() < end)
                RunShell("sleep 0.05");
        }
    }

    /// All that were ever started.
    std::vector<pid_t> GetManagers() const
    {
        std::istringstream lines(TestSupport::ReadFile(Path("pids")));
        std::vector<pid_t> pids;
        for (pid_t pid = 0; lines >> pid;)
            pids.push_back(pid);
        return pids;
    }
};

TEST_F(PostTest, AJobIsPostedToTheUsersOwnManagerAndItsMachineFileComesBack)
{
    const Texts words{"--post", "--machine", "Kestrel 180", MakeMesh()};
    const auto first = Run(words);
    ASSERT_EQ(first.status, 0) << first.output << first.errors;
    EXPECT_THAT(first.output, HasSubstr("attached: Kestrel 180 (Machine Manager)"));
    EXPECT_THAT(first.output, ContainsRegex("page   http://127.0.0.1:[0-9]+/jobs/[0-9a-f-]+[?]code="));
    EXPECT_THAT(first.output, HasSubstr("completed"));
    EXPECT_THAT(Read("out/part.gcode"), HasSubstr("G1 "));
    EXPECT_TRUE(std::filesystem::exists(Path("out/platform.TavAMX")));

    // The next host finds the same manager, and the queue that it keeps.
    const auto second = Run(words);
    ASSERT_EQ(second.status, 0) << second.output << second.errors;
    EXPECT_THAT(second.output, HasSubstr("number 2, part"));
    ASSERT_THAT(GetManagers(), SizeIs(1));

    // Ended by somebody: a further host starts one that goes on with the store.
    kill(GetManagers().front(), SIGKILL);
    const auto third = Run(words);
    ASSERT_EQ(third.status, 0) << third.output << third.errors;
    EXPECT_THAT(third.output, HasSubstr("number 3, part"));
    EXPECT_THAT(GetManagers(), SizeIs(2));
}

TEST_F(PostTest, TwoHostsAtOnceShareOneManager)
{
    const Texts words{"--post", "--machine", "Kestrel 180", MakeMesh()};
    QProcess other;
    auto environment = _environment;
    _environment.insert(QStringLiteral("MACHINESERVICE_OUT_DIR"), QString::fromStdString(Path("other")));
    Start(other, words);
    _environment = environment;
    const auto own = Run(words);
    const auto others = Finish(other);
    EXPECT_EQ(own.status, 0) << own.output << own.errors;
    EXPECT_EQ(others.status, 0) << others.output << others.errors;
    EXPECT_EQ(TestSupport::ReadFile(Path("other/part.gcode")).empty(), false);
}

TEST_F(PostTest, AManagerThatDoesNotStartIsOneSentence)
{
    const Texts words{"--post", "--machine", "Kestrel 180", MakeMesh()};
    WriteScript("manager", "echo 'The store is broken.' >&2\nexit 1\n");
    const auto broken = Run(words);
    EXPECT_EQ(broken.status, 1);
    EXPECT_EQ(broken.errors, "The Machine Manager did not start; it said 'The store is broken.'.\n");
    SetVariable("MACHINESERVICE_MANAGER_PROGRAM", Path("nobody"));
    const auto absent = Run(words);
    EXPECT_EQ(absent.status, 1);
    EXPECT_THAT(absent.errors, HasSubstr("The Machine Manager did not start"));
    EXPECT_EQ(Run({"--post", "--service", "unix:/x"}).status, 2);
    EXPECT_EQ(Run({"--post", "--list"}).status, 2);
}

TEST_F(PostTest, AHostThatPostsNothingStartsNone)
{
    EXPECT_EQ(Run({"--list"}).status, 0);
    EXPECT_THAT(GetManagers(), IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(Path("run")));
}

} // namespace
