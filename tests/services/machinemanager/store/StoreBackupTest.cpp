#include "machinemanager/store/StoreBackup.h"
#include "machinemanager/store/FileStore.h"
#include "services/machinemanager/store/StoreFixture.h"
#include "support/Files.h"

#include <QSqlDatabase>
#include <QSqlQuery>

#include <sstream>

namespace {

using namespace TestSupport;
using ErrorKind = ManagerError::Kind;

class StoreBackupTest : public StoreTest
{
protected:
    std::filesystem::path GetPath(const char* ip_name) const { return folder.path().toStdString() + '/' + ip_name; }
    /// Another empty store of either kind.
    StoreOptions MakeTarget(Kind i_kind)
    {
        auto options = MakeOptions();
        options.address = i_kind == Kind::Sqlite ? "sqlite:" + GetPath("restored.db").string()
                                                 : PostgresCluster::Get().MakeDatabase();
        std::filesystem::remove(GetPath("restored.db"));
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(, StoreBackupTest, ::testing::Values(Kind::Sqlite, Kind::Postgres), GetKindName);

std::string Describe(const JobStore& i_store)
{
    std::ostringstream text;
    JobFilter filter{.isOldestFirst = true, .count = 500};
    for (auto jobs = i_store.List(filter); !jobs.empty(); jobs = i_store.List(filter)) {
        for (const Job& job : jobs) {
            text << job.number << ' ' << job.name << ' ' << GetInfo(job.phase).name << ' ' << job.version << ' '
                 << job.position << ' ' << job.claimant << ' ' << job.fence << ' ' << job.needs.nozzle.value_or(-1);
            for (const HistoryEntry& line : i_store.GetHistory(job.id))
                text << ' ' << line.event << line.time.time_since_epoch().count() << line.detail;
            text << '\n';
        }
        filter.after = jobs.back().number;
    }
    for (const MachineEntry& entry : i_store.GetMachines())
        text << entry.name << ' ' << entry.loaded.material << ' ' << entry.loaded.nozzle.value_or(-1) << '\n';
    return text.str();
}

TEST_P(StoreBackupTest, WhatIsBackedUpIsRestoredIntoEitherDatabase)
{
    JobStore store(MakeOptions());
    for (int number = 0; number < 1'050; ++number) {
        NewJob job = MakeNewJob(std::to_string(number), toMachine);
        job.needs.nozzle = number % 2 == 0 ? std::optional(0.1 * number) : std::nullopt;
        job.isDraft = true;
        if (number < 40 || GetParam() == Kind::Postgres) // more than one page, where rows are copied
            store.Add(job, true);
    }
    store.NoteMachine(machine, "Kestrel", "K180");
    store.EditMachine(machine, "ada", "PETG.", [](MachineEntry& io_machine) { io_machine.loaded = {"PETG", 0.4, ""}; });
    store.Backup(GetPath("backup.db"));
    const auto expected = Describe(store);
    store.Add(MakeNewJob("after the backup", toMachine), true);
    // Nothing else lies beside it, and nobody else may read it.
    EXPECT_FALSE(std::filesystem::exists(GetPath("backup.db-wal")));
    EXPECT_EQ(std::filesystem::status(GetPath("backup.db")).permissions(), std::filesystem::perms(0600));
    const auto bytes = ReadFile(GetPath("backup.db"));
    const StoreBackup backup(GetPath("backup.db"));
    EXPECT_EQ(backup.CountJobs(), store.Count({}) - 1);
    EXPECT_THAT(backup.GetFiles(), ElementsAre(std::string(64, 'a')));
    for (const Kind target : {Kind::Sqlite, Kind::Postgres}) {
        JobStore restored(MakeTarget(target));
        restored.NoteMachine(MakeUuid("Halcyon"), "Halcyon", "D260");
        EXPECT_EQ(restored.Restore(backup, {}), 0);
        EXPECT_EQ(GetRefusal([&] { restored.Restore(backup, {}); }).first, ErrorKind::Conflict);
        EXPECT_EQ(restored.FindMachine(MakeUuid("Halcyon"))->model, "D260") << "it is offered nevertheless";
        EXPECT_THAT(expected, Not(HasSubstr("Halcyon")));
        EXPECT_THAT(Describe(restored), StartsWith(expected.substr(0, expected.find("Kestrel"))));
        EXPECT_THAT(restored.Check(true).findings, IsEmpty());
        const auto last = store.List({.count = 2})[1].number;
        EXPECT_EQ(restored.Add(MakeNewJob("next", toMachine), true).number, last + 1);
        restored.EditMachine(machine, "ada", "PLA.", [](MachineEntry&) {});
    }
    EXPECT_EQ(ReadFile(GetPath("backup.db")), bytes);
    EXPECT_THAT(log, IsEmpty());
}

TEST_P(StoreBackupTest, WhatWaitedOrWasWorkedOnIsForSomebodyToSay)
{
    JobStore store(MakeOptions());
    for (const char* const name : {"building", "starting", "waiting"})
        store.Add(MakeNewJob(name, toMachine), true);
    JobClaim claims[2];
    for (auto& claim : claims) {
        const auto job = store.ClaimNext(machine, "Kestrel", "K180", [](const Job&) { return std::string(); });
        ASSERT_TRUE(job);
        claim = {job->id, job->fence};
    }
    store.Change(claims[1], {JobEvent::Built});
    store.Change(claims[1], {JobEvent::Sent});
    store.Backup(GetPath("backup.db"));
    const StoreBackup backup(GetPath("backup.db"));

    EXPECT_EQ(GetRefusal([&] { store.Restore(backup, {.mayReplace = true}); }).first, ErrorKind::Conflict)
        << "jobs are carried out";
    JobStore other(MakeTarget(GetParam()));
    other.Add(MakeNewJob("former", toMachine), true);
    const auto mark = other.GetMark();
    other.Change(MakeUuid("former"), {JobEvent::Hold});
    EXPECT_EQ(GetRefusal([&] { other.Restore(backup, {.mayReplace = true, .unchangedSince = mark}); }).first,
              ErrorKind::Conflict)
        << "it would be lost";
    EXPECT_EQ(other.Restore(backup, {.mayReplace = true, .actor = "ada", .unchangedSince = other.GetMark()}), 2);
    EXPECT_FALSE(other.Find(MakeUuid("former")));
    EXPECT_EQ(other.Find(MakeUuid("waiting"))->phase, JobPhase::Held);
    EXPECT_EQ(other.Find(MakeUuid("building"))->phase, JobPhase::Held);
    EXPECT_EQ(other.Find(MakeUuid("starting"))->phase, JobPhase::Unconfirmed);
    EXPECT_EQ(other.GetHistory(MakeUuid("waiting")).back().actor, "ada");
    EXPECT_THAT(other.Check(true).findings, IsEmpty());
}

TEST_P(StoreBackupTest, ABackupIsOfOneMomentWhileFourThreadsWrite)
{
    JobStore store(MakeOptions());
    std::atomic<bool> hasToEnd = false;
    std::atomic<int> added = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int number = 0; !hasToEnd; ++number) {
                // Each pair is one change away from being the same: a job and its copy's priority.
                const Job job =
                    store.Add(MakeNewJob(std::to_string(thread) + '-' + std::to_string(number), toMachine), true);
                ++added;
                store.Change(job.id, {JobEvent::Hold});
            }
        });
    }
    while (added < 20)
        std::this_thread::yield();
    const int least = added;
    store.Backup(GetPath("backup.db"));
    hasToEnd = true;
    for (auto& thread : threads)
        thread.join();
    JobStore restored(MakeTarget(GetParam()));
    // Of each thread at most the last job is not held: nothing is missing in between.
    EXPECT_LE(restored.Restore(StoreBackup(GetPath("backup.db")), {}), 4);
    EXPECT_THAT(restored.Check(true).findings, IsEmpty());
    EXPECT_GE(restored.Count({}), least - 4);
    EXPECT_LE(restored.Count({}), added);
    JobFilter filter{.isOldestFirst = true, .count = 500};
    for (const Job& job : restored.List(filter))
        EXPECT_THAT(restored.GetHistory(job.id), SizeIs(job.version));
}

TEST_P(StoreBackupTest, WhatIsNoBackupIsRefused)
{
    JobStore store(MakeOptions());
    for (int number = 0; number < 200; ++number)
        store.Add(MakeNewJob(std::to_string(number), toMachine), true);
    store.Backup(GetPath("backup.db"));
    const auto bytes = ReadFile(GetPath("backup.db"));
    auto spoiled = bytes;
    std::fill(spoiled.begin() + 20'000, spoiled.begin() + 30'000, '\x7f');
    const std::vector<std::pair<const char*, std::string>> rows = {
        {"text", "This is no backup at all, but it is long enough to be looked at."},
        {"empty", ""},
        {"short", bytes.substr(0, bytes.size() / 2)},
        {"spoiled", spoiled},
    };
    for (const auto& [name, content] : rows) {
        WriteFile(GetPath(name), content);
        const auto path = GetPath(name);
        const auto refusal = GetRefusal([&path] { const StoreBackup backup(path); });
        EXPECT_EQ(refusal.first, ErrorKind::BadInput) << name;
        EXPECT_THAT(refusal.second, HasSubstr(name));
        EXPECT_EQ(ReadFile(GetPath(name)), content) << "it stays as it is";
    }
    EXPECT_EQ(GetRefusal([&] { StoreBackup(GetPath("none")); }).first, ErrorKind::BadInput);
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("newer"));
        database.setDatabaseName(QString::fromStdString(GetPath("backup.db")));
        ASSERT_TRUE(database.open());
        QSqlQuery(database).exec(QStringLiteral("UPDATE store_version SET version = 99"));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("newer"));
    EXPECT_THAT(GetRefusal([&] { StoreBackup(GetPath("backup.db")); }).second, HasSubstr("newer version"));
    const auto refusal = GetRefusal([&] { store.Backup(GetPath("no folder/backup.db")); });
    EXPECT_EQ(refusal.first, ErrorKind::Storage);
    EXPECT_THAT(refusal.second, HasSubstr("no folder/backup.db"));
}

} // namespace
