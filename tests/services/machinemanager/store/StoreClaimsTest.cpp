#include "services/machinemanager/store/StoreFixture.h"

namespace {

using namespace TestSupport;
using ErrorKind = ManagerError::Kind;

class StoreClaimsTest : public StoreTest
{
protected:
    std::optional<Job> Claim(JobStore& io_store) { return io_store.ClaimNext(machine, "Kestrel", "K180", {}); }
};

INSTANTIATE_TEST_SUITE_P(, StoreClaimsTest, ::testing::Values(Kind::Sqlite, Kind::Postgres), GetKindName);

JobClaim ClaimOf(const Job& i_job)
{
    return {i_job.id, i_job.fence};
}

TEST_P(StoreClaimsTest, JobsAreClaimedByPriorityThenPositionThenArrival)
{
    JobStore store(MakeOptions());
    const auto add = [&](const char* ip_name, const JobTarget& i_target, int i_priority) {
        NewJob job = MakeNewJob(ip_name, i_target);
        job.priority = i_priority;
        return store.Add(job, true).id;
    };
    add("late", toMachine, 10);
    add("second", toModel, 50);
    const uuid moved = add("first of its priority", toMachine, 50);
    add("third", toMachine, 50);
    add("first", toModel, 90);
    add("other machine", {MakeUuid("other"), "K180", ""}, 100);
    add("other model", {{}, "K350", ""}, 100);
    const uuid putOff = add("put off", toMachine, 100);
    const uuid held = add("held", toMachine, 100);
    store.Edit(moved, "position", "grace", "", [](Job& io_job) { io_job.position = 0.5; });
    store.Edit(putOff, "retry", "system", "",
               [&](Job& io_job) { io_job.notBefore = store.Now() + std::chrono::seconds(5); });
    store.Change(held, {JobEvent::Hold});
    EXPECT_EQ(store.GetNextAttempt(store.Now()), store.Now() + std::chrono::seconds(5));

    std::vector<std::string> names;
    while (const auto job = Claim(store))
        names.push_back(job->name);
    EXPECT_THAT(names, ElementsAre("first", "first of its priority", "second", "third", "late"));
    const Time looked = store.Now();
    now += 5000;
    EXPECT_FALSE(store.GetNextAttempt(store.Now()));
    EXPECT_EQ(store.GetNextAttempt(looked), store.Now()) << "due after somebody looked and before they went to sleep";
    EXPECT_EQ(Claim(store)->name, "put off");
    EXPECT_FALSE(Claim(store));

    // A clock that is set back does not put off any longer than the longest time.
    const uuid early = add("early", toMachine, 1);
    store.Edit(early, "retry", "system", "", [&](Job& io_job) { io_job.notBefore = store.Now() + LongestPutOff; });
    EXPECT_FALSE(Claim(store));
    now -= 1;
    EXPECT_FALSE(store.GetNextAttempt(store.Now()));
    EXPECT_THAT(store.GetWaitingTargets(), Contains(toMachine));
    EXPECT_EQ(Claim(store)->name, "early");
}

TEST_P(StoreClaimsTest, JobsThatAreRefusedStandInNobodysWay)
{
    JobStore store(MakeOptions());
    for (int number = 0; number < 100; ++number)
        store.Add(MakeNewJob(std::to_string(number), number % 3 == 0 ? toModel : toMachine), true);
    std::vector<std::string> asked;
    const auto job = store.ClaimNext(machine, "Kestrel", "K180", [&](const Job& i_job) {
        asked.push_back(i_job.name);
        return i_job.name == "97" ? std::string() : "no";
    });
    ASSERT_TRUE(job);
    EXPECT_EQ(job->name, "97");
    EXPECT_EQ(job->phase, JobPhase::Building);
    EXPECT_EQ(job->machine, machine);
    EXPECT_EQ(job->machineName, "Kestrel");
    EXPECT_EQ(job->claimant, "one");
    // In the order in which they would go, each once.
    for (int number = 0; number < 98; ++number)
        EXPECT_EQ(asked.at(static_cast<std::size_t>(number)), std::to_string(number));
}

TEST_P(StoreClaimsTest, OnlyWhatThisMachineMadeIsSentToIt)
{
    JobStore store(MakeOptions());
    const uuid id = store.Add(MakeNewJob("lid", toModel), true).id;
    Job job = Claim(store).value();
    const auto keep = [](Job& io_job) {
        io_job.machineFile = KeptFile{"lid.gcode", std::string(64, 'c'), 9};
    };
    store.Change(ClaimOf(job), {JobEvent::Built, "system", "", keep});
    store.Change(ClaimOf(job), {JobEvent::GiveBack});
    job = Claim(store).value();
    EXPECT_EQ(job.phase, JobPhase::Sending);
    EXPECT_TRUE(job.machineFile);
    store.Change(ClaimOf(job), {JobEvent::GiveBack});
    job = store.ClaimNext(MakeUuid("other"), "Other", "K180", {}).value();
    EXPECT_EQ(job.phase, JobPhase::Building);
    EXPECT_FALSE(job.machineFile);
    EXPECT_FALSE(store.Find(id)->machineFile);
}

TEST_P(StoreClaimsTest, WhoLostAClaimWritesNothingAnyMore)
{
    JobStore store(MakeOptions());
    store.Add(MakeNewJob("lid", toMachine), true);
    const Job first = Claim(store).value();
    store.SetProgress(ClaimOf(first), 40, "Slicing");
    EXPECT_EQ(store.Find(first.id)->percent, 40);
    EXPECT_EQ(store.Find(first.id)->version, first.version);
    ASSERT_THAT(store.ReleaseClaims("one"), SizeIs(1));
    EXPECT_EQ(store.Find(first.id)->phase, JobPhase::Waiting);
    EXPECT_EQ(store.Find(first.id)->percent, 0);
    const auto expectLost = [&](const JobClaim& i_claim) {
        EXPECT_EQ(GetRefusal([&] { store.Change(i_claim, {JobEvent::Built}); }).first, ErrorKind::LostClaim);
        EXPECT_EQ(GetRefusal([&] { store.SetProgress(i_claim, 50, "late"); }).first, ErrorKind::LostClaim);
    };
    expectLost(ClaimOf(first));
    const Job second = Claim(store).value();
    EXPECT_GT(second.fence, first.fence);
    expectLost(ClaimOf(first));
    EXPECT_EQ(store.Find(first.id)->stage, "");
    EXPECT_EQ(store.Change(ClaimOf(second), {JobEvent::Built}).phase, JobPhase::Sending);
    EXPECT_EQ(GetRefusal([&] {
                  store.Change(JobClaim{MakeUuid("nobody"), 1}, {JobEvent::Built});
              }).first,
              ErrorKind::NotFound);
}

TEST_P(StoreClaimsTest, WhatMayHaveStartedIsWatchedByWhoAdoptsIt)
{
    JobStore store(MakeOptions());
    store.Add(MakeNewJob("lid", toMachine), true);
    const Job claimed = Claim(store).value();
    store.Change(ClaimOf(claimed), {JobEvent::Built});
    store.Change(ClaimOf(claimed), {JobEvent::Sent});
    ASSERT_THAT(store.GetTimed(), SizeIs(1));
    EXPECT_EQ(store.GetTimed().front().phase, JobPhase::Starting);
    EXPECT_EQ(store.GetTimed().front().since, store.Now());
    EXPECT_THAT(store.GetUnclaimed(), IsEmpty());
    EXPECT_FALSE(store.Adopt(claimed.id));
    EXPECT_EQ(store.ReleaseClaims("one").at(0).phase, JobPhase::Unconfirmed);
    EXPECT_THAT(store.GetTimed(), IsEmpty());
    EXPECT_THAT(GetNames(store.GetUnclaimed()), ElementsAre("lid"));
    EXPECT_FALSE(Claim(store));
    const Job adopted = store.Adopt(claimed.id).value();
    EXPECT_EQ(adopted.claimant, "one");
    EXPECT_EQ(adopted.phase, JobPhase::Unconfirmed);
    EXPECT_THAT(store.GetUnclaimed(), IsEmpty());
    EXPECT_EQ(store.Change(ClaimOf(adopted), {JobEvent::Printed}).claimant, "");
    EXPECT_FALSE(store.Adopt(claimed.id));
    EXPECT_FALSE(store.Adopt(MakeUuid("nobody")));
}

TEST_P(StoreClaimsTest, EightThreadsClaimEachJobOnce)
{
    JobStore store(MakeOptions());
    constexpr int Count = 200;
    for (int number = 0; number < Count; ++number)
        store.Add(MakeNewJob(std::to_string(number), number % 2 == 0 ? toModel : toMachine), true);
    std::mutex claimsMutex;
    std::multiset<std::int64_t> claims;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&] {
            while (const auto job = Claim(store)) {
                const std::lock_guard lock(claimsMutex);
                claims.insert(job->number);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(claims.size(), static_cast<std::size_t>(Count));
    EXPECT_EQ(std::set(claims.begin(), claims.end()).size(), static_cast<std::size_t>(Count));
    EXPECT_EQ(store.Count({.states = {JobState::Processing}}), Count);
    for (const Job& job : store.List({.count = 500}))
        EXPECT_THAT(store.GetHistory(job.id), SizeIs(2));
}

TEST_P(StoreClaimsTest, BeatsAreToldOfThoseWhoHaveClaims)
{
    JobStore store(MakeOptions());
    store.Beat();
    EXPECT_THAT(store.GetBeats(), IsEmpty());
    store.Add(MakeNewJob("lid", toMachine), true);
    Claim(store);
    store.Beat();
    EXPECT_THAT(store.GetBeats(), ElementsAre(std::pair(std::string("one"), std::uint64_t{2})));
}

} // namespace
