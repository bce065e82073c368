#include "services/remote/RemoteFixture.h"
#include "support/Failures.h"

namespace MachineService::Testing {

namespace {

using namespace std::chrono_literals;
using RemoteCatalogTest = RemoteLooms;

TEST_F(RemoteCatalogTest, EveryOperationComesOutAsTheMachineMeantIt)
{
    machine.data.comment = "comment";
    machine.data.state = MachineState::Paused;
    machine.data.stateReasons = {"The weaver is away."};
    machine.data.buildVolume = BuildVolume{0, 0, 100, 100, 10, false};
    Start();
    ConnectAndRun();
    EXPECT_THAT(journal.Take(), ElementsAre("status 1 ", "added 1", "status 2 "));
    const auto loom = GetLoom();
    EXPECT_EQ(loom.GetMachineData(), machine.data);
    EXPECT_EQ(remote->GetMachineIds(), std::vector{MakeId(1)});
    EXPECT_THAT(remote->GetMachines(), SizeIs(1));
    EXPECT_TRUE(remote->TryGetMachine(RemoteId, MakeId(1), MachineRepresentation::Machine));
    EXPECT_FALSE(remote->TryGetMachine(RemoteId, MakeId(1), MachineRepresentation::Queue));
    EXPECT_FALSE(remote->TryGetMachine(ServiceId::BuildProcessors, MakeId(1), MachineRepresentation::Default));
    EXPECT_EQ(GetFailure([&] { remote->GetMachine(MakeId(9)); }).code, ErrorCode::MachineNotFound);
    EXPECT_THAT(remote->GetVersionInformation().get(), Contains(std::pair<std::string, std::string>("Looms", "1.2")));

    const auto commands = loom.GetCommands().get();
    ASSERT_THAT(commands, SizeIs(2));
    EXPECT_EQ(commands[0], machine.commands[0].description);
    EXPECT_TRUE(loom.CanRunCommand(MakeId(2)).get());
    ASSERT_TRUE(loom.TryExplain());
    EXPECT_EQ(loom.TryExplain()->ExplainCanRunCommand(MakeId(3)).get(), (CanRunAnswer{false, "The thread is torn."}));
    EXPECT_FALSE(loom.CanRunCommand(MakeId(77)).get());

    EXPECT_THAT(loom.GetPlatformInformation().get().xml, HasSubstr("Loom.Yarn"));
    const auto [result, platform] = loom.GetEmptyPlatform({}).get();
    EXPECT_TRUE(result.completed);
    EXPECT_EQ(platform.kind, PlatformDataKind::Platform);
    EXPECT_THAT(platform.data, StartsWith("PK"));
    loom.ModifyPlatform(platform).get();
    EXPECT_EQ(modified, platform.data);
    EXPECT_EQ(loom.GetProfileAssignments().get(), machine.strategies);
    EXPECT_EQ(GetFailure([&] { loom.FillReportProperties(MakeParameters("x")).get(); }).code,
              ErrorCode::ReportNotSupported);
    EXPECT_THAT(GetFailure([&] { loom.Preprocessing(MakeParameters("x")).get(); }).text, HasSubstr("preprocessing"));

    const std::string input(1'000'000, 'a');
    const auto parameters = MakeParameters(input);
    EXPECT_EQ(loom.RunCommand(parameters).get().dataFormat, DataFormat::Document);
    EXPECT_EQ(ReadResult(), input + "!");
    EXPECT_THAT(GetResults(), SizeIs(1));
    EXPECT_THAT(progress.Take(), Contains("50 Weaving"));
}

TEST_F(RemoteCatalogTest, NewsArriveAsTheServiceTellsThem)
{
    Start();
    ConnectAndRun();
    journal.Take();
    {
        const std::lock_guard lock(mutex);
        machine.data.name = "Big loom";
    }
    EXPECT_TRUE(remote->Refresh(RemoteId));
    EXPECT_TRUE(Expect("updated 1 8"));
    EXPECT_EQ(GetLoom().GetMachineData().name, "Big loom");
    EXPECT_FALSE(remote->Refresh(ServiceId::BuildProcessors));
}

TEST_F(RemoteCatalogTest, ALostServiceKeepsItsMachinesAndComesBackByItself)
{
    Start();
    ConnectAndRun();
    journal.Take();
    const auto loom = GetLoom();
    server.reset();
    ASSERT_TRUE(Expect("status 4 "));
    const auto reason = journal.Take().back();
    EXPECT_THAT(reason, AllOf(HasSubstr(options.addresses.front()), HasSubstr(": ")));
    EXPECT_TRUE(remote->HasMachine(MakeId(1)));
    EXPECT_THAT(loom.GetCommands().get(), SizeIs(2));
    const auto answer = loom.TryExplain()->ExplainCanRunCommand(MakeId(2)).get();
    EXPECT_FALSE(answer.canRun);
    EXPECT_THAT(answer.reason, HasSubstr("out of reach since 20"));
    const auto failure = GetFailure([&] { loom.RunCommand(MakeParameters("x")).get(); });
    EXPECT_EQ(failure.code, ErrorCode::InternalError);
    EXPECT_THAT(failure.text, HasSubstr(options.addresses.front()));

    const auto begin = std::chrono::steady_clock::now();
    Restart();
    ASSERT_TRUE(Expect("status 2 "));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    EXPECT_THAT(journal.Take(), Not(Contains(StartsWith("removed"))));
    EXPECT_TRUE(loom.CanRunCommand(MakeId(2)).get());
    EXPECT_TRUE(loom.RunCommand(MakeParameters("x")).get().completed);
}

TEST_F(RemoteCatalogTest, AStartWithoutTheServiceHasTheMachinesOfTheLastTime)
{
    Start();
    ConnectAndRun();
    const auto data = GetLoom().GetMachineData();
    const auto commands = GetLoom().GetCommands().get();
    remote.reset();
    server.reset();
    journal.Take();
    Connect();
    ASSERT_TRUE(Expect("status 4 "));
    EXPECT_THAT(journal.Take(), ElementsAre("status 1 ", "added 1", StartsWith("status 4 No machine service answers")));
    EXPECT_EQ(GetLoom().GetMachineData(), data);
    EXPECT_EQ(GetLoom().GetCommands().get(), commands);
    EXPECT_THAT(GetLoom().TryExplain()->ExplainCanRunCommand(MakeId(2)).get().reason, HasSubstr("since"));
    remote.reset();

    // A file that was damaged is passed over, wherever that is.
    const auto cache = folder.GetAbsoluteDir() / "cache";
    const auto file = cache / TestSupport::GetFileNames(cache).front();
    const std::string good = TestSupport::ReadFile(file);
    for (const std::size_t place : {std::size_t(3), good.size() / 2, good.size() - 1}) {
        std::string bad = good;
        bad[place] = static_cast<char>(bad[place] ^ 1);
        for (const auto& bytes : {bad, good.substr(0, place)}) {
            TestSupport::WriteFile(file, bytes);
            Connect();
            ASSERT_TRUE(Expect("status 4 "));
            EXPECT_THAT(remote->GetMachineIds(), IsEmpty());
            remote.reset();
            journal.Take();
        }
    }
}

TEST_F(RemoteCatalogTest, ARunOfAServiceThatDiedAndStaysAwayIsGivenUpWithOneSentence)
{
    std::promise<void> begun;
    run = [&](const CommandRun& i_run) -> CommandResult {
        begun.set_value();
        for (;;)
            i_run.Report(1, "for ever");
    };
    Start();
    ConnectAndRun();
    auto result = GetLoom().RunCommand(MakeParameters("x"));
    begun.get_future().wait();
    server.reset();
    ASSERT_EQ(result.wait_for(Long), std::future_status::ready);
    const auto failure = GetFailure([&] { result.get(); });
    EXPECT_EQ(failure.code, ErrorCode::InternalError);
    EXPECT_THAT(failure.text, HasSubstr("broke during the run and did not come back"));
    EXPECT_THAT(GetResults(), IsEmpty());
}

TEST_F(RemoteCatalogTest, ASecretThatIsNotTakenAnyMoreIsNewsOfEveryMachine)
{
    options.admit = [](const std::string& i_secret) {
        return i_secret == "sesame" ? std::optional<std::string>("looms") : std::nullopt;
    };
    Start();
    Connect();
    ASSERT_TRUE(Expect("status 3 "));
    remote->SetAuthentication(RemoteId, AuthenticationData{"", "sesame"});
    ASSERT_TRUE(Expect("status 2 "));
    journal.Take();
    remote->SetAuthentication(RemoteId, AuthenticationData{"", "wrong"});
    ASSERT_TRUE(Expect("status 3 "));
    EXPECT_THAT(journal.Take(), ::testing::Contains("updated 1 2")) << "its commands cannot run";
}

TEST_F(RemoteCatalogTest, GoingDownAnswersEverythingAndLeavesMachinesThatSaySo)
{
    std::promise<void> begun;
    run = [&](const CommandRun& i_run) -> CommandResult {
        begun.set_value();
        for (;;)
            i_run.Report(1, "for ever");
    };
    Start();
    ConnectAndRun();
    const auto loom = GetLoom();
    auto result = loom.RunCommand(MakeParameters("x"));
    begun.get_future().wait();
    remote.reset();
    EXPECT_EQ(GetFailure([&] { result.get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { loom.GetCommands().get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { loom.CanRunCommand(MakeId(2)).get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { loom.RunCommand(MakeParameters("x")).get(); }).code, ErrorCode::ServicesUnavailable);
}

} // namespace

} // namespace MachineService::Testing
