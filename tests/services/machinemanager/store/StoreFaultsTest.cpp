#include "machinemanager/store/ConnectionPool.h"
#include "machinemanager/store/Migrations.h"
#include "services/machinemanager/store/StoreFixture.h"
#include "support/Files.h"

#include <QProcess>
#include <QSqlQuery>

#include <sstream>

#include <unistd.h>

namespace {

using namespace TestSupport;
using ErrorKind = ManagerError::Kind;

class StoreFaultsTest : public StoreTest
{
protected:
    ~StoreFaultsTest() override { Connection::FailAt(-1); }

    std::filesystem::path GetFile(const std::string& i_ending = {}) const
    {
        return address.substr(std::string("sqlite:").size()) + i_ending;
    }
    /// Statements in a database without a store.
    void RunSql(const std::vector<std::string>& i_statements)
    {
        const auto dialect = MakeDialect(ParseStoreAddress(address));
        Connection connection(*dialect);
        for (const auto& statement : i_statements)
            connection.Run(QString::fromStdString(statement));
    }
};

TEST(StoreAddressTest, SaysWhatIsWrongWithIt)
{
    const std::pair<const char*, const char*> rows[] = {
        {"mysql://host/store", "begins with neither sqlite: nor postgresql://"},
        {"sqlite:store", "names no absolute file"},
        {"sqlite:/var/", "names no absolute file"},
        {"postgresql:///store", "lacks the host or the database"},
        {"postgresql://host", "lacks the host or the database"},
        {"postgresql://[::1/store", "has a bracket that is not closed"},
        {"postgresql://host:0/store", "has a port that is no number from 1 to 65535"},
    };
    for (const auto& row : rows)
        EXPECT_THAT([&] { ParseStoreAddress(row.first); }, ThrowsMessage<std::exception>(HasSubstr(row.second)));
    EXPECT_EQ(ParseStoreAddress("postgresql://ada:p%40ss@[::1]:5433/store").host, "::1");
}

INSTANTIATE_TEST_SUITE_P(, StoreFaultsTest, ::testing::Values(Kind::Sqlite, Kind::Postgres), GetKindName);

/// All that a store holds, as text.
std::string Describe(const JobStore& i_store)
{
    std::ostringstream text;
    for (const Job& job : i_store.List({.count = 500})) {
        text << job.name << ' ' << GetInfo(job.phase).name << " v" << job.version << " f" << job.fence << ' '
             << job.claimant << ' ' << job.waitReason << ' ' << job.percent << ' ' << job.priority << " :";
        for (const HistoryEntry& line : i_store.GetHistory(job.id))
            text << ' ' << line.event;
        text << '\n';
    }
    for (const MachineEntry& entry : i_store.GetMachines())
        text << entry.name << ' ' << entry.isPaused << '\n';
    for (const auto& [name, beats] : i_store.GetBeats())
        text << name << ' ' << beats << '\n';
    return text.str();
}

TEST_P(StoreFaultsTest, EachStatementThatFailsIsASentenceAndChangesNothing)
{
    JobStore store(MakeOptions());
    const uuid id = MakeUuid("lid");
    JobClaim claim{id, 1};
    using Action = std::function<void()>;
    const std::vector<std::pair<std::string, Action>> actions = {
        {"add",
         [&] {
             store.Add(MakeNewJob("lid", toMachine), true);
         }},
        {"add again",
         [&] {
             store.Add(MakeNewJob("lid", toMachine), true);
         }},
        {"edit",
         [&] {
             store.Edit(id, "priority", "ada", "", [](Job& io_job) { io_job.priority = 60; });
         }},
        {"hold",
         [&] {
             store.Change(id, {JobEvent::Hold});
         }},
        {"release",
         [&] {
             store.Change(id, {JobEvent::Release}, 3);
         }},
        {"claim",
         [&] {
             claim.fence = store.ClaimNext(machine, "Kestrel", "K180", {}).value().fence;
         }},
        {"progress",
         [&] {
             store.SetProgress(claim, 10, "Slicing");
         }},
        {"beat",
         [&] {
             store.Beat();
         }},
        {"built",
         [&] {
             store.Change(claim, {JobEvent::Built});
         }},
        {"sent",
         [&] {
             store.Change(claim, {JobEvent::Sent});
         }},
        {"release claims",
         [&] {
             store.ReleaseClaims("one");
         }},
        {"adopt",
         [&] {
             claim.fence = store.Adopt(id).value().fence;
         }},
        {"printed",
         [&] {
             store.Change(claim, {JobEvent::Printed});
         }},
        {"note",
         [&] {
             store.NoteMachine(machine, "Kestrel", "K180");
         }},
        {"pause",
         [&] {
             store.EditMachine(machine, "ada", "", [](MachineEntry& io_machine) { io_machine.isPaused = true; });
         }},
        {"remove",
         [&] {
             store.RemoveFinal(store.Now() + std::chrono::hours(1), 10);
         }},
    };
    for (const auto& [name, action] : actions) {
        for (int index = 0;; ++index) {
            SCOPED_TRACE(name + ' ' + std::to_string(index));
            ASSERT_LT(index, 50);
            const std::string before = Describe(store);
            Connection::FailAt(index);
            const auto [kind, sentence] = GetRefusal(action);
            const bool isReached = Connection::FailAt(-1) > index;
            if (!kind) {
                EXPECT_FALSE(isReached);
                if (name != "add again") {
                    EXPECT_NE(Describe(store), before);
                }
                break;
            }
            EXPECT_EQ(kind, ErrorKind::Storage);
            EXPECT_THAT(sentence, MatchesRegex("The job store '.*' failed \\(made to fail\\)\\. .*\\."));
            EXPECT_EQ(Describe(store), before);
        }
    }
    EXPECT_TRUE(store.Check(true).isSound);
}

TEST_P(StoreFaultsTest, AFailureWhileItIsOpenedOrRefusedLeavesAllAsItWas)
{
    int index = 0;
    for (bool isOpen = false; !isOpen; ++index) {
        ASSERT_LT(index, 200);
        Connection::FailAt(index);
        const auto refusal = GetRefusal([&] {
            JobStore store(MakeOptions());
            isOpen = true;
        });
        Connection::FailAt(-1);
        EXPECT_TRUE(isOpen || refusal.first == ErrorKind::Storage) << refusal.second;
    }
    EXPECT_GT(index, 10);
    JobStore store(MakeOptions());
    const uuid id = store.Add(MakeNewJob("lid", toMachine), true).id;
    // The statement that undoes fails as well, so that only closing the connection can.
    const int statements = [&] {
        Connection::FailAt(-1);
        GetRefusal([&] { store.Change(id, {JobEvent::Printed}); });
        return Connection::FailAt(-1);
    }();
    Connection::FailAt(statements - 1);
    EXPECT_EQ(GetRefusal([&] { store.Change(id, {JobEvent::Printed}); }).first, ErrorKind::Conflict);
    Connection::FailAt(-1);
    EXPECT_THAT(log, ElementsAre(HasSubstr("undone by closing")));
    EXPECT_EQ(store.Change(id, {JobEvent::Hold}).version, 2u);
}

TEST_P(StoreFaultsTest, ANewerStoreAndForeignTablesAreRefusedInASentence)
{
    {
        JobStore store(MakeOptions());
        store.Add(MakeNewJob("lid", toMachine), true);
    }
    RunSql({"UPDATE store_version SET version = 99"});
    const auto refusal = GetRefusal([&] { JobStore store(MakeOptions()); });
    EXPECT_EQ(refusal.first, ErrorKind::Storage);
    EXPECT_THAT(refusal.second, AllOf(HasSubstr("version 99"), HasSubstr("newer program")));
    RunSql({"UPDATE store_version SET version = 2"});
    EXPECT_EQ(JobStore(MakeOptions()).Count({}), 1);
    RunSql({"DROP TABLE store_version"});
    EXPECT_THAT(GetRefusal([&] { JobStore store(MakeOptions()); }).second, HasSubstr("another program"));
}

TEST_P(StoreFaultsTest, AStoreOfVersion1Migrates)
{
    const std::string data = MACHINESERVICE_TEST_DATA "/manager/";
    if (GetParam() == Kind::Sqlite) {
        std::istringstream dump(ReadFile(data + "version1-sqlite.sql"));
        std::vector<std::string> statements;
        std::string statement;
        for (std::string line; std::getline(dump, line);) {
            statement += line + '\n';
            if (line.ends_with(';'))
                statements.push_back(std::exchange(statement, {}));
        }
        RunSql(statements);
    } else {
        PostgresCluster::Get().RunFile(address, data + "version1-postgresql.sql");
    }
    // As long as a statement fails, it stays of version 1.
    int failures = -1;
    for (std::optional<ErrorKind> kind = ErrorKind::Storage; kind == ErrorKind::Storage; ++failures) {
        Connection::FailAt(failures + 1);
        kind = GetRefusal([&] { JobStore opened(MakeOptions()); }).first;
        Connection::FailAt(-1);
    }
    EXPECT_GT(failures, 6);
    JobStore store(MakeOptions());
    EXPECT_THAT(GetNames(store.List({.isOldestFirst = true})), ElementsAre("Deckel", "Ring", "Box", "Hook"));
    const Job starting = store.FindByNumber(3).value();
    EXPECT_EQ(starting.phase, JobPhase::Starting);
    EXPECT_EQ(starting.claimant, "one");
    EXPECT_EQ(starting.machineFile->name, "Box.gcode");
    EXPECT_THAT(store.GetHistory(starting.id), SizeIs(4));
    // What version 1 did not know is worked out.
    const auto timed = store.GetTimed();
    ASSERT_THAT(timed, SizeIs(1));
    EXPECT_EQ(timed.front().id, starting.id);
    EXPECT_EQ(store.FindMachine(store.FindByNumber(3)->machine)->loaded.material, "PETG");
    store.EditMachine(starting.machine, "grace", "", [](MachineEntry& io_machine) { io_machine.isPaused = true; });
    EXPECT_EQ(store.Add(MakeNewJob("new", toMachine), true).number, 5);
    EXPECT_THAT(store.Check(true).findings, IsEmpty());
}

class SqliteFaultsTest : public StoreFaultsTest
{};

INSTANTIATE_TEST_SUITE_P(, SqliteFaultsTest, ::testing::Values(Kind::Sqlite), GetKindName);

TEST_P(SqliteFaultsTest, ADamagedFileIsSetAsideAndNothingIsOverwritten)
{
    const auto damage = [&](const std::string& i_bytes, std::size_t i_place) {
        std::fstream file(GetFile(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(i_place));
        file << i_bytes;
    };
    const std::vector<std::pair<std::string, std::size_t>> damages = {
        {"this is no database", 0}, {std::string(4096, '\x5a'), 8192}, {std::string(100, '\xff'), 4096}};
    for (std::size_t index = 0; index < damages.size(); ++index) {
        {
            JobStore store(MakeOptions());
            for (int number = 0; number < 20; ++number)
                store.Add(MakeNewJob(std::to_string(number), toMachine), true);
        }
        damage(damages[index].first, damages[index].second);
        const auto bytes = ReadFile(GetFile());
        WriteFile(GetFile("-wal"), "left behind");
        log.clear();
        JobStore store(MakeOptions());
        EXPECT_EQ(store.Count({}), 0);
        ASSERT_THAT(log, SizeIs(1));
        EXPECT_THAT(log[0], AllOf(HasSubstr("jobs.db"), HasSubstr("damaged"), HasSubstr("backup")));
        // The clock of the test stands still, so that the names must be made different.
        const std::string name = ".damaged-20010909-014640" + (index == 0 ? "" : '-' + std::to_string(index + 1));
        EXPECT_EQ(ReadFile(GetFile(name)), bytes);
        EXPECT_TRUE(std::filesystem::exists(GetFile(name + "-wal")));
    }
}

TEST_P(SqliteFaultsTest, OneStoreIsUsedByOneObject)
{
    JobStore store(MakeOptions());
    const auto refusal = GetRefusal([&] { JobStore other(MakeOptions("two")); });
    EXPECT_EQ(refusal.first, ErrorKind::Storage);
    EXPECT_THAT(refusal.second, AllOf(HasSubstr("jobs.db"), HasSubstr("used by another process")));
}

/// Lines that the child printed, by their first word.
std::map<std::string, std::vector<std::string>> RunChild(const QStringList& i_arguments, int i_kill_after = -1)
{
    QProcess child;
    child.start(QStringLiteral(STORE_CHILD), i_arguments);
    std::map<std::string, std::vector<std::string>> lines;
    for (int count = 0; child.waitForReadyRead(60'000) || child.canReadLine();) {
        for (; child.canReadLine(); ++count) {
            const auto line = child.readLine().trimmed().toStdString();
            lines[line.substr(0, line.find(' '))].push_back(line.substr(line.find(' ') + 1));
        }
        if (i_kill_after >= 0 && count >= i_kill_after)
            child.kill();
    }
    child.waitForFinished();
    return lines;
}

TEST_P(SqliteFaultsTest, AFullDiskIsASentenceAndWhatWasToldAsKeptIsThere)
{
    const auto lines = RunChild({QString::fromStdString(address), QStringLiteral("150"), QStringLiteral("400000")});
    ASSERT_TRUE(lines.contains("kept") && lines.contains("refused"));
    for (const auto& line : lines.at("refused"))
        EXPECT_THAT(line, MatchesRegex("1 The job store .*\\. .*\\."));
    JobStore store(MakeOptions());
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(store.Count({}), static_cast<std::int64_t>(lines.at("kept").size()));
    EXPECT_THAT(store.Check(true).findings, IsEmpty());
    store.Add(MakeNewJob("room again", toMachine), true);
}

TEST_P(SqliteFaultsTest, AKilledProcessLosesNothingThatItTold)
{
    std::int64_t kept = 0;
    for (const int after : {1, 7, 20}) {
        const auto lines =
            RunChild({QString::fromStdString(address), QStringLiteral("100000"), QStringLiteral("0")}, after);
        kept += static_cast<std::int64_t>(lines.at("kept").size());
        JobStore store(MakeOptions());
        // One more may be there that nobody was told of yet.
        EXPECT_GE(store.Count({}), kept);
        EXPECT_LE(store.Count({}), kept + 1);
        kept = store.Count({});
        for (const auto& number : lines.at("kept"))
            EXPECT_TRUE(store.FindByNumber(std::stoll(number)));
        EXPECT_THAT(store.Check(true).findings, IsEmpty());
    }
    EXPECT_THAT(log, IsEmpty());
}

} // namespace
