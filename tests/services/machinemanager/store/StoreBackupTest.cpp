#include "machinemanager/store/StoreBackup.h"
#include "machinemanager/store/FileStore.h"
#include "services/machinemanager/store/StoreFixture.h"
#include "support/Files.h"

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
        if (number < 40 || GetParam() == Kind::Postgres) // more than one page, where rows are copied
            store.Add(job, true);
    }
    store.ClaimNext(machine, "Kestrel", "K180", {});
    store.NoteMachine(machine, "Kestrel", "K180");
    store.EditMachine(machine, "ada", "PETG.", [](MachineEntry& io_machine) { io_machine.loaded = {"PETG", 0.4, ""}; });
    store.Backup(GetPath("backup.db"));
    const auto expected = Describe(store);
    store.Add(MakeNewJob("after the backup", toMachine), true);
    // Nothing else lies beside it, and nobody else may read it.
    EXPECT_FALSE(std::filesystem::exists(GetPath("backup.db-wal")));
    EXPECT_EQ(std::filesystem::status(GetPath("backup.db")).permissions(), std::filesystem::perms(0600));
    const auto bytes = ReadFile(GetPath("backup.db"));
    for (const Kind target : {Kind::Sqlite, Kind::Postgres}) {
        const auto options = MakeTarget(target);
        RestoreStore(GetPath("backup.db"), options);
        EXPECT_EQ(GetRefusal([&] { RestoreStore(GetPath("backup.db"), options); }).first, ErrorKind::Conflict);
        JobStore restored(options);
        EXPECT_EQ(Describe(restored), expected);
        EXPECT_THAT(restored.Check(true).findings, IsEmpty());
        const auto last = store.List({.count = 2})[1].number;
        EXPECT_EQ(restored.Add(MakeNewJob("next", toMachine), true).number, last + 1);
        restored.EditMachine(machine, "ada", "PLA.", [](MachineEntry&) {});
    }
    EXPECT_EQ(ReadFile(GetPath("backup.db")), bytes);
    EXPECT_THAT(log, IsEmpty());
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
    const auto options = MakeTarget(GetParam());
    RestoreStore(GetPath("backup.db"), options);
    JobStore restored(options);
    EXPECT_THAT(restored.Check(true).findings, IsEmpty());
    EXPECT_GE(restored.Count({}), least - 4);
    EXPECT_LE(restored.Count({}), added);
    // Of each thread at most the last job is not held: nothing is missing in between.
    EXPECT_LE(restored.Count({.states = {JobState::Pending}}), 4);
    JobFilter filter{.isOldestFirst = true, .count = 500};
    for (const Job& job : restored.List(filter))
        EXPECT_THAT(restored.GetHistory(job.id), SizeIs(job.version));
}

TEST_P(StoreBackupTest, WhatIsNoBackupIsRefused)
{
    const auto options = MakeTarget(GetParam());
    WriteFile(GetPath("text"), "This is no backup at all, but it is long enough to be looked at.");
    EXPECT_EQ(GetRefusal([&] { RestoreStore(GetPath("text"), options); }).first, ErrorKind::BadInput);
    EXPECT_EQ(GetRefusal([&] { RestoreStore(GetPath("none"), options); }).first, ErrorKind::BadInput);
    WriteFile(GetPath("empty"), "");
    EXPECT_EQ(GetRefusal([&] { RestoreStore(GetPath("empty"), options); }).first, ErrorKind::BadInput);
    EXPECT_EQ(ReadFile(GetPath("text")).substr(0, 7), "This is");
    JobStore store(MakeOptions());
    const auto refusal = GetRefusal([&] { store.Backup(GetPath("no folder/backup.db")); });
    EXPECT_EQ(refusal.first, ErrorKind::Storage);
    EXPECT_THAT(refusal.second, HasSubstr("no folder/backup.db"));
}

TEST_P(StoreBackupTest, FilesThatAreMissingOrSpoiledAreTold)
{
    JobStore store(MakeOptions());
    FileStore files(GetPath("files"));
    const auto add = [&](const char* ip_name, bool i_is_whole) {
        NewJob job = MakeNewJob(ip_name, toMachine);
        job.platform = files.AddBytes(ip_name, std::string(ip_name) + ".TavAMX");
        store.Add(job, i_is_whole);
        return job.platform.hash;
    };
    add("sound", true);
    std::filesystem::remove(files.GetPath(add("missing", true)));
    WriteFile(files.GetPath(add("spoiled", true)), "spoiles");
    std::filesystem::remove(files.GetPath(add("coming", false)));
    EXPECT_THAT(CheckFiles(store, files, false).findings, ElementsAre(HasSubstr("missing.TavAMX")));
    const auto report = CheckFiles(store, files, true);
    EXPECT_FALSE(report.isSound);
    EXPECT_THAT(report.findings, ElementsAre(HasSubstr("missing"), HasSubstr("damaged")));
}

} // namespace
