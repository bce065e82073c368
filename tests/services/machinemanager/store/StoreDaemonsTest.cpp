#include "machinemanager/store/Address.h"
#include "services/machinemanager/store/StoreFixture.h"
#include "support/SocketProxy.h"

namespace {

using namespace TestSupport;
using ErrorKind = ManagerError::Kind;

/// Several daemons at one PostgreSQL, and what becomes of them when it goes.
class StoreDaemonsTest : public StoreTest
{
protected:
    std::optional<Job> Claim(JobStore& io_store) { return io_store.ClaimNext(machine, "Kestrel", "K180", {}); }
};

INSTANTIATE_TEST_SUITE_P(, StoreDaemonsTest, ::testing::Values(Kind::Postgres), GetKindName);

/// What a store tells of, to be waited for.
class Ear
{
public:
    explicit Ear(JobStore& io_store)
        : _subscription(io_store.Subscribe([this](const uuid& i_job) {
            const std::lock_guard lock(_mutex);
            _heard.insert(i_job);
            _changed.notify_all();
        }))
    {}
    /// Forgets it as well.
    bool Waits(const uuid& i_job)
    {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(30), [&] { return _heard.erase(i_job) > 0; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::set<uuid> _heard;
    std::shared_ptr<void> _subscription;
};

TEST_P(StoreDaemonsTest, DaemonsHearOfEachOthersChanges)
{
    JobStore one(MakeOptions("one"));
    Ear ofOne(one);
    JobStore two(MakeOptions("two"));
    // Whoever begins lets the others look.
    EXPECT_TRUE(ofOne.Waits({}));
    Ear ofTwo(two);
    const uuid id = one.Add(MakeNewJob("lid", toMachine), true).id;
    EXPECT_TRUE(ofOne.Waits(id));
    EXPECT_TRUE(ofTwo.Waits(id));
    two.Change(id, {JobEvent::Hold});
    EXPECT_TRUE(ofOne.Waits(id));
    two.NoteMachine(machine, "Kestrel", "K180");
    EXPECT_TRUE(ofOne.Waits({}));
    PostgresCluster::Get().Run(address, "NOTIFY machineservice_jobs, 'foreign nonsense'");
    PostgresCluster::Get().Run(address, "NOTIFY machineservice_jobs");
    one.Change(id, {JobEvent::Release});
    EXPECT_TRUE(ofTwo.Waits(id));
}

TEST_P(StoreDaemonsTest, WhoseBeatStandsStillIsReplacedAndStopped)
{
    JobStore one(MakeOptions("one"));
    JobStore two(MakeOptions("two"));
    one.Add(MakeNewJob("building", toMachine), true);
    one.Add(MakeNewJob("of two", toMachine), true);
    const Job late = Claim(one).value();
    const Job other = Claim(two).value();
    one.Beat();
    two.Beat();
    two.Beat();
    EXPECT_THAT(two.GetBeats(), UnorderedElementsAre(std::pair(std::string("one"), std::uint64_t{1}),
                                                     std::pair(std::string("two"), std::uint64_t{2})));
    EXPECT_THAT(GetNames(two.ReleaseClaims("one")), ElementsAre("building"));
    const Job taken = Claim(two).value();
    EXPECT_EQ(taken.id, late.id);
    EXPECT_EQ(taken.claimant, "two");
    EXPECT_EQ(GetRefusal([&] {
                  one.Change(JobClaim{late.id, late.fence}, {JobEvent::Built});
              }).first,
              ErrorKind::LostClaim);
    // Not even with the other's number.
    EXPECT_EQ(GetRefusal([&] {
                  one.Change(JobClaim{late.id, taken.fence}, {JobEvent::Built});
              }).first,
              ErrorKind::LostClaim);
    EXPECT_EQ(two.Change(JobClaim{other.id, other.fence}, {JobEvent::Built}).phase, JobPhase::Sending);
}

TEST_P(StoreDaemonsTest, TwoDaemonsClaimEachJobOnce)
{
    JobStore one(MakeOptions("one"));
    JobStore two(MakeOptions("two"));
    for (int number = 0; number < 60; ++number)
        one.Add(MakeNewJob(std::to_string(number), toModel), true);
    std::mutex claimsMutex;
    std::vector<std::int64_t> claims;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&, thread] {
            while (const auto job = Claim(thread % 2 == 0 ? one : two)) {
                const std::lock_guard lock(claimsMutex);
                claims.push_back(job->number);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(claims.size(), 60u);
    EXPECT_EQ(std::set(claims.begin(), claims.end()).size(), 60u);
}

TEST_P(StoreDaemonsTest, AServerThatWasAwayIsASentenceAndThenAllGoesOn)
{
    JobStore store(MakeOptions("one"));
    Ear ear(store);
    const uuid id = store.Add(MakeNewJob("lid", toMachine), true).id;
    // Connections that the server ended in between are made anew without a word.
    PostgresCluster::Get().Run(address, "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = "
                                        "current_database() AND pid <> pg_backend_pid()");
    EXPECT_EQ(store.Change(id, {JobEvent::Hold}).version, 2u);
    EXPECT_TRUE(ear.Waits({}));

    PostgresCluster::Get().Stop();
    const auto refusal = GetRefusal([&] { store.Change(id, {JobEvent::Release}); });
    EXPECT_EQ(refusal.first, ErrorKind::Storage);
    EXPECT_THAT(refusal.second, AllOf(HasSubstr("cannot be reached"), Not(HasSubstr("postgresql://"))));
    EXPECT_EQ(GetRefusal([&] { store.Find(id); }).first, ErrorKind::Storage);
    PostgresCluster::Get().Start();
    EXPECT_EQ(store.Find(id)->version, 2u);
    EXPECT_EQ(store.Change(id, {JobEvent::Release}).version, 3u);
    EXPECT_TRUE(ear.Waits({}));
    JobStore other(MakeOptions("two"));
    other.Change(id, {JobEvent::Hold});
    EXPECT_TRUE(ear.Waits(id));
}

/// A store whose connections with the server go through the test's hands.
class CutStoreTest : public StoreDaemonsTest
{
protected:
    StoreOptions MakeCutOptions()
    {
        auto options = MakeOptions("two");
        options.address = "postgresql://postgres@" + EncodeHost(folder.path().toStdString()) + "/" +
                          ParseStoreAddress(address).database;
        return options;
    }

    JobStore direct{MakeOptions("one")};
    const uuid id = direct.Add(MakeNewJob("lid", toMachine), true).id;
    SocketProxy proxy{folder.path().toStdString() + "/.s.PGSQL.5432",
                      ParseStoreAddress(address).host + "/.s.PGSQL.5432"};
    JobStore store{MakeCutOptions()};
};

INSTANTIATE_TEST_SUITE_P(, CutStoreTest, ::testing::Values(Kind::Postgres), GetKindName);

TEST_P(CutStoreTest, AnAnswerToACommitThatWasLostIsAskedFor)
{
    for (std::uint64_t version = 1; version < 8; ++version) {
        proxy.CloseBehind("COMMIT");
        EXPECT_EQ(GetRefusal([&] {
                      store.Change(id, {version % 2 == 0 ? JobEvent::Release : JobEvent::Hold}, version);
                  }).second,
                  "");
        EXPECT_EQ(direct.Find(id)->version, version + 1);
    }
}

TEST_P(CutStoreTest, AConnectionCutAnywhereLeavesNoDoubt)
{
    int failures = 0;
    std::uint64_t version = 1;
    for (std::size_t bytes = 1; bytes < 5'000; bytes += 61) {
        SCOPED_TRACE(bytes);
        const bool isHeld = direct.Find(id)->phase == JobPhase::Held;
        proxy.CloseAfter(bytes);
        const auto refusal =
            GetRefusal([&] { store.Change(id, {isHeld ? JobEvent::Release : JobEvent::Hold}, version); });
        failures += refusal.first ? 1 : 0;
        if (refusal.first) {
            EXPECT_EQ(refusal.first, ErrorKind::Storage) << refusal.second;
        } else {
            ++version;
        }
        EXPECT_EQ(direct.Find(id)->version, version) << refusal.second;
        EXPECT_THAT(direct.GetHistory(id), SizeIs(version));
    }
    EXPECT_GT(failures, 3);
    EXPECT_GT(version, 10u);
}

} // namespace
