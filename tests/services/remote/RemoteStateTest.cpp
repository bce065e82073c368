#include "hashing/Sha256.h"
#include "remote/IconStore.h"
#include "remote/Link.h"
#include "remote/MachineStore.h"
#include "remote/RunTransfer.h"
#include "remote/ServiceAddress.h"
#include "remote/Workers.h"
#include "remote/canrun/CanRunStore.h"
#include "support/Failures.h"
#include "support/Test.h"

namespace MachineService::Remote {

// What several threads share, and nothing of the transport.

namespace {

using namespace std::chrono_literals;
using TestSupport::GetFailure;
using Step = RunTransfer::Step;

constexpr auto Changed = MachineChanges::ConfigurationChanged;

boost::uuids::uuid MakeId(std::uint8_t i_number)
{
    boost::uuids::uuid id = {};
    id.data[15] = i_number;
    return id;
}

std::shared_ptr<StoredMachine> MakeMachine(std::uint8_t i_number, const std::string& i_comment = {})
{
    auto machine = std::make_shared<StoredMachine>();
    machine->data.id = MakeId(i_number);
    machine->data.comment = i_comment;
    return machine;
}

TEST(RemoteStateTest, ASnapshotTellsWhatDiffersFromTheLastOneAndKeepsTheOrder)
{
    MachineStore store;
    auto news = store.Replace({MakeMachine(3), MakeMachine(1), MakeMachine(1, "twice"), MakeMachine(2)}, {"life", 7});
    EXPECT_THAT(news.added, ElementsAre(MakeId(3), MakeId(1), MakeId(2)));
    EXPECT_EQ(store.GetPosition(), (Position{"life", 7}));

    const auto before = store.Find(MakeId(1));
    auto seenAgain = MakeMachine(2);
    seenAgain->data.stateTime = std::chrono::system_clock::time_point(1s);
    news = store.Replace({MakeMachine(1, "other"), seenAgain, MakeMachine(4)}, {"next", 1});
    EXPECT_THAT(news.removed, ElementsAre(MakeId(3)));
    EXPECT_THAT(news.added, ElementsAre(MakeId(4)));
    EXPECT_THAT(news.updated, ElementsAre(std::pair(MakeId(1), Changed)));
    EXPECT_EQ(store.Find(MakeId(2))->data.stateTime, seenAgain->data.stateTime);
    EXPECT_EQ(before->data.comment, "") << "what was handed out stays as it was";
    EXPECT_THAT(store.GetIds(), ElementsAre(MakeId(1), MakeId(2), MakeId(4)));
}

TEST(RemoteStateTest, AChangeTellsWhatTheServiceSaysAndWhatShows)
{
    MachineStore store;
    EXPECT_THAT(store.Put(MakeMachine(1), MachineChanges::StateChanged, {"life", 1}).added, ElementsAre(MakeId(1)));
    EXPECT_THAT(store.Put(MakeMachine(1), MachineChanges::None, {"life", 2}).updated, IsEmpty());
    auto changed = MakeMachine(1);
    changed->data.name = "renamed";
    changed->commands.emplace_back();
    EXPECT_THAT(store.Put(changed, static_cast<MachineChanges>(64), {"life", 3}).updated,
                ElementsAre(std::pair(MakeId(1), MachineChanges::NameChanged | MachineChanges::CommandsChanged |
                                                     static_cast<MachineChanges>(64))));
    EXPECT_THAT(store.Remove(MakeId(9), {"life", 4}).removed, IsEmpty());
    EXPECT_THAT(store.Remove(MakeId(1), {"life", 5}).removed, ElementsAre(MakeId(1)));
    EXPECT_EQ(store.GetPosition().revision, 5);
}

TEST(RemoteStateTest, TheOrderOutlivesManyRemovals)
{
    MachineStore store;
    std::vector<boost::uuids::uuid> expected;
    for (std::uint8_t number = 0; number < 200; ++number)
        store.Put(MakeMachine(number), Changed, {"life", number});
    for (std::uint8_t number = 0; number < 200; ++number) {
        if (number % 20 == 7)
            expected.push_back(MakeId(number));
        else
            store.Remove(MakeId(number), {"life", 200});
        EXPECT_EQ(store.Find(MakeId(number)) != nullptr, number % 20 == 7);
    }
    store.Put(MakeMachine(3, "again"), Changed, {"life", 201});
    expected.push_back(MakeId(3));
    EXPECT_EQ(store.GetIds(), expected);
    std::vector<boost::uuids::uuid> found;
    for (const auto& machine : store.GetAll())
        found.push_back(machine->data.id);
    EXPECT_EQ(found, expected);
    EXPECT_THAT(store.Replace({MakeMachine(3, "again"), MakeMachine(7)}, {"next", 1}).removed, SizeIs(9));
    EXPECT_THAT(store.GetIds(), ElementsAre(MakeId(7), MakeId(3)));
}

TEST(RemoteStateTest, ManyThreadsReadWhileTheMachinesChange)
{
    MachineStore store;
    std::atomic<bool> stop = false;
    std::vector<std::thread> readers;
    for (int index = 0; index < 3; ++index)
        readers.emplace_back([&] {
            while (!stop) {
                for (const auto& machine : store.GetAll())
                    EXPECT_LE(machine->data.comment.size(), 3U);
                store.Find(MakeId(5));
            }
        });
    for (std::uint8_t round = 0; round < 200; ++round) {
        store.Put(MakeMachine(round % 10, std::to_string(round)), Changed, {"life", round});
        store.Remove(MakeId((round + 5) % 10), {"life", round});
    }
    stop = true;
    for (auto& reader : readers)
        reader.join();
}

TEST(RemoteStateTest, OneQuestionAnswersAllWhoAskAboutAMachineWithinAMoment)
{
    CanRunStore store;
    const CanRunStore::Clock::time_point now;
    const CanRunStore::Key machine{MakeId(1), MachineRepresentation::Machine};
    std::vector<std::string> told;
    const auto ask = [&](std::uint8_t i_command, CanRunStore::Clock::duration i_after) {
        return store.Ask(machine, MakeId(i_command), now + i_after,
                         {[&told](const CanRunAnswer& i_answer) {
                              told.push_back(i_answer.canRun ? "yes" : "no: " + i_answer.reason);
                          },
                          [&told](const std::exception_ptr&) {
                              told.push_back("failed");
                          }});
    };
    EXPECT_TRUE(ask(1, 0s));
    EXPECT_FALSE(ask(2, 0s));
    EXPECT_FALSE(ask(3, 0s));
    EXPECT_THAT(told, IsEmpty());
    const CanRunStore::Answers answers{{{MakeId(1), {true, {}}}, {MakeId(2), {false, "The door is open."}}}, false};
    store.Answer(machine, answers, now);
    EXPECT_THAT(told, ElementsAre("yes", "no: The door is open.", "no: "));
    EXPECT_FALSE(ask(1, 10ms)) << "still fresh";
    EXPECT_THAT(told, SizeIs(4));

    EXPECT_TRUE(ask(1, 10s)) << "too old";
    store.Invalidate(MakeId(1));
    store.Answer(machine, answers, now + 10s);
    EXPECT_TRUE(ask(1, 10s)) << "something changed on the way of that answer";
    store.Fail(machine, std::make_exception_ptr(std::runtime_error("broken")));
    EXPECT_EQ(told.back(), "failed");
    EXPECT_TRUE(ask(1, 10s));
}

TEST(RemoteStateTest, WhoAsksAfterAChangeIsNotToldWhatWasBefore)
{
    CanRunStore store;
    const CanRunStore::Clock::time_point now;
    const CanRunStore::Key machine{MakeId(1), MachineRepresentation::Machine};
    std::vector<std::string> told;
    const auto ask = [&](const std::string& i_who) {
        return store.Ask(machine, MakeId(1), now,
                         {[&told, i_who](const CanRunAnswer& i_answer) {
                              told.push_back(i_who + (i_answer.canRun ? ": yes" : ": no"));
                          },
                          [&told, i_who](const std::exception_ptr&) {
                              told.push_back(i_who + ": failed");
                          }});
    };
    const CanRunStore::Answers yes{{{MakeId(1), {true, {}}}}, false};
    const CanRunStore::Answers no{{{MakeId(1), {false, {}}}}, false};
    EXPECT_TRUE(ask("before"));
    store.Invalidate(MakeId(1));
    EXPECT_FALSE(ask("after"));
    EXPECT_TRUE(store.Answer(machine, yes, now)) << "somebody waits for another answer";
    EXPECT_THAT(told, ElementsAre("before: yes"));
    EXPECT_FALSE(ask("meanwhile"));
    EXPECT_FALSE(store.Answer(machine, no, now));
    EXPECT_THAT(told, ElementsAre("before: yes", "after: no", "meanwhile: no"));
    EXPECT_FALSE(ask("then")) << "fresh";

    store.Invalidate(MakeId(1));
    EXPECT_TRUE(ask("again"));
    store.Invalidate(MakeId(1));
    EXPECT_FALSE(ask("later"));
    store.Fail(machine, std::make_exception_ptr(std::runtime_error("broken")));
    EXPECT_THAT(told, ::testing::IsSupersetOf({"again: failed", "later: failed"}));
    EXPECT_TRUE(ask("anew"));
}

/// A run of 100 bytes of input that leaves two files.
class TransferTest : public testing::Test
{
protected:
    RunState Waiting(std::uint64_t i_received)
    {
        RunState state;
        state.phase = RunPhase::WaitingForInput;
        state.receivedBytes = i_received;
        return state;
    }
    RunState Running(int i_percent)
    {
        RunState state;
        state.phase = RunPhase::Running;
        state.percent = i_percent;
        return state;
    }
    RunState Finished(std::vector<RunFile> i_files)
    {
        RunState state;
        state.phase = RunPhase::Finished;
        state.percent = 100;
        state.result.secondStatus = SubmissionSent;
        state.files = std::move(i_files);
        return state;
    }

    const RunTransfer::Clock::time_point _now;
    RunTransfer _run{100, 10s, _now};
};

TEST_F(TransferTest, ARunGoesOnWhereABrokenConnectionLeftIt)
{
    EXPECT_EQ(_run.GetStep(), Step::Start);
    EXPECT_FALSE(_run.IsResumption());
    _run.HandleState(Waiting(0), _now);
    EXPECT_EQ(_run.GetStep(), Step::Upload);
    _run.HandleBroken();
    EXPECT_EQ(_run.GetStep(), Step::Start);
    EXPECT_TRUE(_run.IsResumption()) << "or it might be carried out twice";
    _run.HandleState(Waiting(60), _now);
    EXPECT_EQ(_run.GetReceivedBytes(), 60);
    EXPECT_TRUE(_run.HandleState(Running(30), _now));
    EXPECT_EQ(_run.GetStep(), Step::Watch);
    EXPECT_FALSE(_run.HandleState(Running(20), _now)) << "percent never falls";
    EXPECT_EQ(_run.GetPercent(), 30);

    const std::vector<RunFile> files{{"a.gcode", 5, "x"}, {"b.xml", 6, "y"}};
    _run.HandleState(Finished(files), _now);
    EXPECT_EQ(_run.GetStep(), Step::Download);
    _run.HandleDownloaded(_now);
    _run.HandleBroken();
    EXPECT_EQ(_run.GetStep(), Step::Start);
    _run.HandleState(Finished(files), _now);
    EXPECT_EQ(_run.GetFile().name, "b.xml") << "what is here is not fetched again";
    _run.HandleDownloaded(_now);
    EXPECT_EQ(_run.GetStep(), Step::Release);
    _run.HandleBroken();
    EXPECT_EQ(_run.GetStep(), Step::Done);
    EXPECT_EQ(_run.GetResult().secondStatus, SubmissionSent);
}

TEST_F(TransferTest, WhatCannotBeIsRefused)
{
    RunState failed;
    failed.phase = RunPhase::Failed;
    failed.failure = CommunicationException(ErrorCode::QueuePaused, "paused");
    EXPECT_EQ(GetFailure([&] { _run.HandleState(failed, _now); }).code, ErrorCode::QueuePaused);
    EXPECT_THAT(GetFailure([&] { _run.HandleState(Waiting(101), _now); }).text, HasSubstr("more bytes"));
    for (const auto* name : {"../a", "", ".hidden", "a/b"})
        EXPECT_THAT(GetFailure([&] {
                        _run.HandleState(Finished({{name, 1, ""}}), _now);
                    }).text,
                    HasSubstr("cannot be"));
    EXPECT_THAT(GetFailure([&] {
                    _run.HandleState(Finished({{"a", 1, ""}, {"a", 1, ""}}), _now);
                }).text,
                HasSubstr("two files named 'a'"));
}

TEST_F(TransferTest, DamageIsTriedAgainButNotForEver)
{
    _run.HandleState(Waiting(0), _now);
    for (int count = 0; count < 5; ++count)
        EXPECT_TRUE(_run.HandleDamage());
    EXPECT_FALSE(_run.HandleDamage());
    _run.HandleState(Waiting(10), _now);
    EXPECT_TRUE(_run.HandleDamage()) << "it had moved on";
    EXPECT_FALSE(_run.IsTooLate(_now + 9s));
    EXPECT_FALSE(_run.IsTooLate(_now - std::chrono::hours(1))) << "a clock that is put back";
    EXPECT_TRUE(_run.IsTooLate(_now + 11s));
}

TEST(RemoteStateTest, ALossKeepsItsTimeAndWhoWaitsIsWokenByConnectionOrStop)
{
    Link link;
    const auto since = std::chrono::system_clock::now() - 1h;
    link.SetLost("first", since);
    link.SetLost("second");
    EXPECT_EQ(link.GetLoss()->since, since);
    EXPECT_THAT(DescribeLoss(*link.GetLoss()), StartsWith("second Its machines have been out of reach since 20"));

    std::stop_source stop;
    auto stopped = std::async(std::launch::async, [&] { return link.WaitForOther(nullptr, 1h, stop.get_token()); });
    stop.request_stop();
    EXPECT_EQ(stopped.get(), nullptr);
    // Never looked into, only told apart.
    const std::shared_ptr<Connection> one(reinterpret_cast<Connection*>(16), [](Connection*) {});
    const std::shared_ptr<Connection> other(reinterpret_cast<Connection*>(32), [](Connection*) {});
    link.SetConnected(one);
    EXPECT_FALSE(link.GetLoss());
    EXPECT_EQ(link.WaitForOther(one, 1ms, {}), one);
    auto waiting = std::async(std::launch::async, [&] { return link.WaitForOther(one, 1h, {}); });
    link.SetConnected(other);
    EXPECT_EQ(waiting.get(), other);
}

TEST(RemoteStateTest, ACallThatHangsDelaysNoOtherAndEveryAnswerIsGiven)
{
    Workers workers;
    std::promise<void> open;
    const auto opened = open.get_future().share();
    auto hanging = workers.Submit([opened] { opened.wait(); });
    for (int count = 0; count < 50; ++count)
        EXPECT_EQ(workers.Submit([count] { return count; }).get(), count);
    EXPECT_THROW(workers.Submit([]() -> int { throw std::runtime_error("as it is"); }).get(), std::runtime_error);
    open.set_value();
    workers.Close();
    hanging.get();
    EXPECT_EQ(GetFailure([&] { workers.Submit([] {}).get(); }).code, ErrorCode::ServicesUnavailable);
}

TEST(RemoteStateTest, IconsAreAskedForOnceAndTakenOnlyWhenTheyMatch)
{
    IconStore icons;
    const std::string hash = HashOf("picture");
    EXPECT_THAT(icons.TakeMissing({hash, "short"}), ElementsAre(hash));
    EXPECT_THAT(icons.TakeMissing({hash}), IsEmpty());
    EXPECT_FALSE(icons.Add(hash, "another"));
    EXPECT_FALSE(icons.Add(HashOf(std::string(2'000'000, 'x')), std::string(2'000'000, 'x')));
    EXPECT_TRUE(icons.Add(hash, "picture"));
    EXPECT_THAT(icons.Find(hash).GetBytes(), SizeIs(7));
    icons.KeepOnly({});
    EXPECT_TRUE(icons.Find(hash).IsEmpty());
    EXPECT_THAT(icons.TakeMissing({hash}), SizeIs(1));
}

TEST(RemoteStateTest, AddressesAreUnderstoodOrRefusedWithWhatTheyLookLike)
{
    EXPECT_TRUE(ParseServiceAddress("unix:/run/user/1/machined.sock").isLocal);
    EXPECT_EQ(ParseServiceAddress("tls://printers.example:5443").target, "dns:///printers.example:5443");
    EXPECT_EQ(ParseServiceAddress("tls://[::1]:5443").host, "::1");
    const std::vector<std::string> wrong{"",
                                         "unix:relative",
                                         "unix:",
                                         "tls://host",
                                         "tls://host:0",
                                         "tls://host:70000",
                                         "tls://:1",
                                         "tls://a b:1",
                                         "http://host:1",
                                         "tls://[x]:1",
                                         "unix:/" + std::string(200, 'x')};
    for (const std::string& text : wrong)
        EXPECT_THAT(GetFailure([&] { ParseServiceAddress(text); }).text,
                    AllOf(StartsWith("The address '"), HasSubstr("'tls://HOST:PORT'.")))
            << text;
}

} // namespace

} // namespace MachineService::Remote
