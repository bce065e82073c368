#include "services/machinemanager/store/StoreFixture.h"

namespace {

using namespace TestSupport;
using ErrorKind = ManagerError::Kind;

class StoreJobsTest : public StoreTest
{};

INSTANTIATE_TEST_SUITE_P(, StoreJobsTest, ::testing::Values(Kind::Sqlite, Kind::Postgres), GetKindName);

/// Every field with a value of its own.
NewJob MakeFullJob()
{
    NewJob job;
    job.id = MakeUuid("full");
    job.name = "Lid \"Ü\" ' \\ %_ ?";
    job.owner = "Grace O'Neil";
    job.target = {MakeUuid("machine"), "K350", "PETG"};
    job.priority = 77;
    job.copies = 3;
    job.platform = {"päckchen.TavAMX", std::string(64, '1'), 5'000'000'000};
    job.picture = KeptFile{"plate.png", std::string(64, '2'), 12};
    job.needs = {"K350", "PETG", 0.4, 180.5, 1.0 / 3, std::nullopt};
    job.estimates = {3600.25, 12.125, std::nullopt};
    job.settings = {{"Material", "PETG"}, {"Höhe", "0.2 \"fine\""}, {"", "line\nbreak"}};
    return job;
}

void ExpectSame(const Job& i_one, const Job& i_other)
{
    EXPECT_EQ(i_one.id, i_other.id);
    EXPECT_EQ(i_one.name, i_other.name);
    EXPECT_EQ(i_one.owner, i_other.owner);
    EXPECT_EQ(i_one.target, i_other.target);
    EXPECT_EQ(i_one.platform, i_other.platform);
    EXPECT_EQ(i_one.picture, i_other.picture);
    EXPECT_EQ(i_one.needs, i_other.needs);
    EXPECT_EQ(i_one.estimates, i_other.estimates);
    EXPECT_EQ(i_one.settings, i_other.settings);
    const auto tie = [](const Job& i_job) {
        return std::tuple_cat(std::tie(i_job.priority, i_job.copies, i_job.isDraft, i_job.phase, i_job.waitReason,
                                       i_job.detail, i_job.number, i_job.position, i_job.created, i_job.changed,
                                       i_job.phaseSince, i_job.version, i_job.machine),
                              std::tie(i_job.machineName, i_job.percent, i_job.stage, i_job.attempts, i_job.copiesDone,
                                       i_job.isAcknowledged, i_job.machineFile, i_job.notBefore, i_job.claimant,
                                       i_job.fence));
    };
    EXPECT_TRUE(tie(i_one) == tie(i_other));
}

TEST_P(StoreJobsTest, WhatWasAddedIsThereAfterARestartAndTheSameIdIsTheSameJob)
{
    Job added;
    {
        JobStore store(MakeOptions());
        added = store.Add(MakeFullJob(), true);
        NewJob other = MakeFullJob();
        other.name = "another name";
        now += 1000;
        ExpectSame(store.Add(other, false), added);
        EXPECT_EQ(store.Count({}), 1);
    }
    JobStore store(MakeOptions());
    ExpectSame(store.Find(added.id).value(), added);
    ExpectSame(store.FindByNumber(added.number).value(), added);
    EXPECT_EQ(added.phase, JobPhase::Waiting);
    EXPECT_EQ(added.position, added.number);
    EXPECT_FALSE(store.Find(MakeUuid("nobody")));
    EXPECT_THAT(store.GetNeededFiles(), ElementsAre(std::string(64, '1'), std::string(64, '2')));
}

TEST_P(StoreJobsTest, AJobGoesByTheTableAndEachStepIsInItsHistory)
{
    JobStore store(MakeOptions());
    const uuid id = store.Add(MakeNewJob("lid", toMachine), false).id;
    EXPECT_EQ(store.Find(id)->phase, JobPhase::Incoming);
    now += 1000;
    store.Change(id, {JobEvent::Received});
    now += 1000;
    const Job held = store.Change(id, {JobEvent::Hold, "grace", "Grace holds it.", [](Job& io_job) {
                                           io_job.waitReason = "job-hold-until-specified";
                                           io_job.attempts = 4;
                                           io_job.phase = JobPhase::Completed;
                                           io_job.version = 99;
                                           io_job.number = 99;
                                       }});
    ExpectSame(store.Find(id).value(), held);
    EXPECT_EQ(held.phase, JobPhase::Held);
    EXPECT_EQ(held.version, 3u);
    EXPECT_EQ(held.attempts, 4);
    EXPECT_EQ(held.phaseSince, store.Now());
    EXPECT_EQ(held.detail, "Grace holds it.");

    const auto refusal = GetRefusal([&] { store.Change(id, {JobEvent::Printed}); });
    EXPECT_EQ(refusal.first, ErrorKind::Conflict);
    EXPECT_THAT(refusal.second, AllOf(HasSubstr("lid"), HasSubstr("held"), HasSubstr("printed")));
    EXPECT_EQ(GetRefusal([&] { store.Change(id, {JobEvent::Release}, 2); }).first, ErrorKind::Conflict);
    EXPECT_EQ(GetRefusal([&] { store.Change(MakeUuid("nobody"), {JobEvent::Release}); }).first, ErrorKind::NotFound);
    ExpectSame(store.Find(id).value(), held);

    const Job released = store.Change(id, {JobEvent::Release, "grace"}, 3);
    EXPECT_EQ(released.waitReason, "");
    store.Change(id, {JobEvent::Cancel, "ada"});
    std::vector<std::tuple<std::string, std::string, JobPhase>> lines;
    for (const HistoryEntry& line : store.GetHistory(id))
        lines.emplace_back(line.actor, line.event, line.phase);
    EXPECT_THAT(lines, ElementsAre(std::tuple("ada", "submit", JobPhase::Incoming),
                                   std::tuple("system", "received", JobPhase::Waiting),
                                   std::tuple("grace", "hold", JobPhase::Held),
                                   std::tuple("grace", "release", JobPhase::Waiting),
                                   std::tuple("ada", "cancel", JobPhase::Canceled)));
    EXPECT_EQ(store.GetHistory(id)[2].detail, "Grace holds it.");
}

TEST_P(StoreJobsTest, EditsKeepThePhaseAndEndWithTheJob)
{
    JobStore store(MakeOptions());
    const uuid id = store.Add(MakeNewJob("lid", toMachine), true).id;
    const Job moved = store.Edit(id, "move", "grace", "To any K180.", [&](Job& io_job) {
        io_job.target = toModel;
        io_job.position = 0.5;
        io_job.picture = KeptFile{"a.png", std::string(64, 'b'), 1};
        io_job.phase = JobPhase::Completed;
    });
    ExpectSame(store.Find(id).value(), moved);
    EXPECT_EQ(moved.target, toModel);
    EXPECT_EQ(moved.phase, JobPhase::Waiting);
    EXPECT_EQ(moved.version, 2u);
    const Job bare = store.Edit(id, "picture", "grace", "", [](Job& io_job) { io_job.picture.reset(); });
    ExpectSame(store.Find(id).value(), bare);
    EXPECT_FALSE(bare.picture);
    // What an edit throws undoes all of it.
    EXPECT_THROW(store.Edit(id, "x", "grace", "",
                            [](Job& io_job) {
                                io_job.name = "other";
                                throw std::logic_error("stop");
                            }),
                 std::logic_error);
    ExpectSame(store.Find(id).value(), bare);
    // An edit may look into the store, and not change it.
    EXPECT_THROW(store.Edit(id, "x", "grace", "",
                            [&](Job& io_job) {
                                EXPECT_EQ(store.Find(io_job.id)->version, io_job.version);
                                store.Beat();
                            }),
                 std::logic_error);
    ExpectSame(store.Find(id).value(), bare);
    EXPECT_EQ(GetRefusal([&] { store.Add(NewJob(), true); }).first, ErrorKind::BadInput);
    store.Change(id, {JobEvent::Cancel});
    EXPECT_EQ(GetRefusal([&] { store.Edit(id, "move", "grace", "", [](Job&) {}); }).first, ErrorKind::Conflict);
}

TEST_P(StoreJobsTest, ListsArePagedAndFiltered)
{
    JobStore store(MakeOptions());
    std::vector<uuid> ids;
    for (int number = 0; number < 10; ++number) {
        NewJob job = MakeNewJob("Lid Ä" + std::to_string(number), number % 2 == 0 ? toMachine : toModel);
        job.owner = number < 3 ? "ada" : "grace";
        job.isDraft = number == 4 || number == 9;
        ids.push_back(store.Add(job, true).id);
    }
    store.Change(ids[1], {JobEvent::Cancel});
    store.Change(ids[5], {JobEvent::Cancel});
    const auto list = [&](const JobFilter& i_filter) {
        std::string digits;
        for (const Job& job : store.List(i_filter))
            digits += job.name.back();
        return digits;
    };
    EXPECT_EQ(list({.count = 3}), "987");
    EXPECT_EQ(list({.after = store.Find(ids[7])->number, .count = 3}), "654");
    EXPECT_EQ(list({.isOldestFirst = true, .after = store.Find(ids[7])->number, .count = 3}), "89");
    EXPECT_EQ(list({.states = {JobState::Canceled, JobState::PendingHeld}}), "9541");
    EXPECT_EQ(list({.states = {JobState::Canceled, JobState::PendingHeld}, .isOldestFirst = true, .count = 3}), "145");
    EXPECT_EQ(list({.states = {JobState::Pending}, .owner = "ada"}), "20");
    EXPECT_EQ(list({.machine = machine}), "86420");
    EXPECT_EQ(list({.text = "lID ä3"}), "3");
    EXPECT_EQ(list({.text = "%"}), "");
    EXPECT_EQ(list({.states = {JobState::Pending, JobState::Canceled}, .owner = "grace", .text = "lid"}), "87653");
    const std::string number = std::to_string(store.Find(ids[0])->number);
    EXPECT_THAT(list({.text = number}), HasSubstr("0"));
    EXPECT_EQ(
        store.Count({.states = {JobState::Canceled, JobState::Pending}, .owner = "grace", .after = 1, .count = 1}), 5);
    EXPECT_EQ(store.Count({}), 10);
    EXPECT_EQ(store.CountStates(), (std::map<JobState, std::int64_t>{
                                       {JobState::Pending, 6}, {JobState::PendingHeld, 2}, {JobState::Canceled, 2}}));
}

TEST_P(StoreJobsTest, ListenersHearOfEachChangeAndNoneOnceTheyHaveGone)
{
    JobStore store(MakeOptions());
    std::vector<uuid> heard;
    auto subscription = store.Subscribe([&](const uuid& i_job) {
        heard.push_back(i_job);
        if (heard.size() == 2)
            throw std::runtime_error("a faulty listener");
    });
    const uuid id = store.Add(MakeNewJob("lid", toMachine), true).id;
    store.Edit(id, "priority", "ada", "", [](Job& io_job) { io_job.priority = 60; });
    EXPECT_THROW(store.Change(id, {JobEvent::Printed}), ManagerError);
    store.NoteMachine(machine, "Kestrel", "K180");
    store.NoteMachine(machine, "Kestrel", "K180");
    EXPECT_THAT(heard, ElementsAre(id, id, uuid{}));
    EXPECT_THAT(log, ElementsAre(HasSubstr("a faulty listener")));
    EXPECT_THAT(store.GetHistory(id), SizeIs(2));

    // It ends in its own call, which must not wait for itself.
    std::shared_ptr<void> own;
    int calls = 0;
    own = store.Subscribe([&](const uuid&) {
        ++calls;
        own.reset();
    });
    subscription.reset();
    store.Change(id, {JobEvent::Hold});
    store.Change(id, {JobEvent::Release});
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(heard, SizeIs(3));
}

TEST_P(StoreJobsTest, MachinesKeepWhatOperatorsSay)
{
    JobStore store(MakeOptions());
    EXPECT_EQ(GetRefusal([&] { store.EditMachine(machine, "grace", "", [](MachineEntry&) {}); }).first,
              ErrorKind::NotFound);
    store.NoteMachine(machine, "Kestrel", "K180");
    const auto edit = [](MachineEntry& io_machine) {
        io_machine.isPaused = true;
        io_machine.pauseReason = "Nozzle";
        io_machine.loaded = {"PETG", 0.6, "Smooth"};
        io_machine.printer = R"({"kind":"folder"})";
    };
    store.EditMachine(machine, "grace", "Paused.", edit);
    now += 1000 * 60 * 60 * 2;
    store.NoteMachine(machine, "Kestrel 2", "K180");
    store.NoteMachine(MakeUuid("another"), "Aster", "A1");
    const MachineEntry entry = store.FindMachine(machine).value();
    EXPECT_EQ(entry.name, "Kestrel 2");
    EXPECT_TRUE(entry.isPaused);
    EXPECT_EQ(entry.pauseReason, "Nozzle");
    EXPECT_EQ(entry.loaded, (LoadedMaterial{"PETG", 0.6, "Smooth"}));
    EXPECT_EQ(entry.printer, R"({"kind":"folder"})");
    EXPECT_EQ(entry.seen, store.Now());
    EXPECT_THAT(store.GetMachines(), SizeIs(2));
    EXPECT_EQ(store.GetMachines()[0].name, "Aster");
    EXPECT_FALSE(store.GetMachines()[0].loaded.nozzle);
}

TEST_P(StoreJobsTest, FinalJobsAreRemovedOldestFirst)
{
    JobStore store(MakeOptions());
    for (const std::string name : {"a", "b", "c", "d"}) {
        store.Add(MakeNewJob(name, toMachine), true);
        if (name != "a")
            store.Change(MakeUuid(name), {JobEvent::Cancel});
        now += 1000;
    }
    EXPECT_EQ(store.RemoveFinal(store.Now() - std::chrono::seconds(1), 1), 1);
    EXPECT_EQ(store.RemoveFinal(store.Now() - std::chrono::seconds(1), 10), 1);
    EXPECT_THAT(GetNames(store.List({})), ElementsAre("d", "a"));
    EXPECT_THAT(store.GetHistory(MakeUuid("b")), IsEmpty());
    EXPECT_TRUE(store.Check(true).isSound);
    // Numbers are told to people: none comes twice.
    EXPECT_GT(store.Add(MakeNewJob("e", toMachine), true).number, store.FindByNumber(4)->number);
}

} // namespace
