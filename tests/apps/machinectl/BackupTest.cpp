#include "apps/machinectl/MachineCtlFixture.h"

#include <atomic>
#include <thread>

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

/// Backup, restore and check by the real program.
class BackupTest : public MachineCtlTest
{
protected:
    fs::path GetPath(const char* ip_name) const { return manager.GetFolder() / ip_name; }
    /// One job that is printed, with its machine file, and one that waits.
    void MakeJobs()
    {
        const auto machine = to_string(MakeId(1));
        ASSERT_EQ(Run({"submit", WritePlatform(), "--machine", machine, "--wait"}).status, 0);
        manager.Pause();
        ASSERT_EQ(Run({"submit", manager.world.WritePlatform(L"PETG").native(), "--machine", machine}).status, 0);
    }
    Words GetStates()
    {
        Words states;
        for (const auto& job : Ask({"jobs"}).array())
            states.push_back(job.toObject().value(QStringLiteral("state")).toString().toStdString());
        return states;
    }
    /// Of the platform of the job that waits.
    fs::path GetKeptPlatform() const
    {
        const auto job = manager.world.manager->GetStore().FindByNumber(2);
        return GetPath("files") / job->platform.hash.substr(0, 2) / job->platform.hash;
    }
};

TEST_F(BackupTest, WhatIsBackedUpIsThereAgainAndWhatWasThereIsSetAside)
{
    MakeJobs();
    EXPECT_THAT(Run({"backup", "all.tar"}).output, StartsWith("Jobs: 2, files: 3, "));
    EXPECT_EQ(fs::status(GetPath("all.tar")).permissions(), fs::perms(0600));
    EXPECT_EQ(Run({"backup", "all.tar"}).status, 1) << "nothing of the user's is overwritten";
    EXPECT_EQ(Run({"backup", "folder/"}).status, 0);
    EXPECT_EQ(Run({"cancel", "2"}).status, 0);

    EXPECT_EQ(Run({"restore", "all.tar"}).status, 4) << "there are jobs";
    EXPECT_THAT(GetStates(), ElementsAre("canceled", "completed"));
    const auto restored = Run({"restore", "all.tar", "--replace"});
    EXPECT_EQ(restored.output, "Restored jobs: 2\n") << restored.errors;
    EXPECT_THAT(restored.errors, AllOf(HasSubstr("held now: 1."), HasSubstr("set-aside")));
    EXPECT_THAT(GetStates(), ElementsAre("pending-held", "completed")) << "it may have been printed since";
    const auto aside = fs::directory_iterator(GetPath("files") / "set-aside")->path();
    EXPECT_EQ(Run({"restore", aside.native(), "--replace"}).status, 0);
    EXPECT_THAT(GetStates(), ElementsAre("canceled", "completed"));

    // A manager that has nothing, and where the machine file comes from the folder.
    TestSupport::ServedManager other;
    EXPECT_EQ(Finish(*Start({"--address", other.GetAddress(), "restore", "folder"})).status, 0);
    const auto fetched = Finish(*Start({"--address", other.GetAddress(), "fetch", "1", "--to", "again.gcode"}));
    EXPECT_EQ(fetched.status, 0) << fetched.errors;
    EXPECT_EQ(TestSupport::ReadFile(GetPath("again.gcode")), "G28\n");
}

TEST_F(BackupTest, AFolderGetsWhatIsNewAndLosesWhatNobodyNeeds)
{
    MakeJobs();
    ASSERT_EQ(Run({"backup", "folder/"}).status, 0);
    const auto kept =
        GetPath("folder") / "files" / GetKeptPlatform().parent_path().filename() / GetKeptPlatform().filename();
    const auto before = fs::last_write_time(kept);
    TestSupport::WriteFile(GetPath("folder") / "files" / "00" / "old", "of a backup before");
    ASSERT_EQ(Run({"copy", "1"}).status, 0);
    const auto second = Ask({"backup", "folder"}).object();
    EXPECT_EQ(second.value(QStringLiteral("jobs")).toInt(), 3);
    EXPECT_EQ(fs::last_write_time(kept), before);
    EXPECT_FALSE(fs::exists(GetPath("folder") / "files" / "00" / "old"));
    fs::create_directory(GetPath("foreign"));
    TestSupport::WriteFile(GetPath("foreign") / "letter.txt", "Dear");
    EXPECT_EQ(Run({"backup", "foreign"}).status, 1);
    EXPECT_THAT(TestSupport::GetFileNames(GetPath("foreign")), ElementsAre("letter.txt"));
}

TEST_F(BackupTest, ABackupIsOfOneMomentWhileJobsComeAndAreCarriedOut)
{
    const auto platform = manager.world.WritePlatform();
    std::atomic<bool> hasToEnd = false;
    std::atomic<int> submitted = 0;
    std::thread submitting([&] {
        while (!hasToEnd) {
            manager.world.Desk().Submit(Operator, manager.world.MakeJob(submitted % 2 + 1), platform);
            ++submitted;
        }
    });
    while (submitted < 20)
        std::this_thread::yield();
    const int least = submitted;
    for (const char* const name : {"one.tar", "two.tar"})
        EXPECT_EQ(Run({"backup", name}).status, 0);
    hasToEnd = true;
    submitting.join();
    TestSupport::ServedManager other;
    const auto restored = Finish(*Start({"--address", other.GetAddress(), "restore", "two.tar"}));
    EXPECT_EQ(restored.status, 0) << restored.errors;
    EXPECT_GE(other.world.Desk().Count(Operator, {}), least);
    const auto checked = Finish(*Start({"--address", other.GetAddress(), "check"}));
    EXPECT_EQ(checked.status, 0) << checked.output << checked.errors;
}

TEST_F(BackupTest, ADamagedBackupIsRefusedBeforeAnythingIsDone)
{
    MakeJobs();
    ASSERT_EQ(Run({"backup", "all.tar"}).status, 0);
    ASSERT_EQ(Run({"backup", "folder/"}).status, 0);
    const auto bytes = TestSupport::ReadFile(GetPath("all.tar"));
    auto spoiled = bytes;
    spoiled[2'000] ^= 1;
    const auto contents = TestSupport::ReadFile(GetPath("folder") / "contents.json");
    const auto with = [&](const std::string& i_from, const std::string& i_to) {
        auto changed = contents;
        return changed.replace(changed.find(i_from), i_from.size(), i_to);
    };
    const auto makeFolder = [&](const char* ip_name, const std::string& i_contents) {
        fs::copy(GetPath("folder"), GetPath(ip_name), fs::copy_options::recursive);
        TestSupport::WriteFile(GetPath(ip_name) / "contents.json", i_contents);
    };
    for (const auto& [name, text] : {std::pair("empty", std::string()),
                                     {"text", std::string("no archive")},
                                     {"header", bytes.substr(0, 700)},
                                     {"half", bytes.substr(0, bytes.size() / 2)},
                                     {"lacks-end", bytes.substr(0, bytes.find("contents.json"))},
                                     {"spoiled", spoiled}})
        TestSupport::WriteFile(GetPath(name), text);
    makeFolder("newer", with("\"version\":1", "\"version\":2"));
    makeFolder("other", with("machine-manager-backup", "another-programs-file"));
    makeFolder("nonsense", "{\"");
    makeFolder("lost", contents);
    fs::remove_all(GetPath("lost") / "files" / GetKeptPlatform().parent_path().filename());
    for (const char* const name :
         {"absent", "empty", "text", "header", "half", "lacks-end", "spoiled", "newer", "other", "nonsense", "lost"}) {
        const auto outcome = Run({"restore", name, "--replace"});
        EXPECT_EQ(outcome.status, 1) << name;
        EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
        EXPECT_THAT(outcome.errors, HasSubstr(name));
    }
    EXPECT_THAT(Run({"restore", "newer", "--replace"}).errors, HasSubstr("newer version"));
    EXPECT_THAT(GetStates(), ElementsAre("pending", "completed"));
    EXPECT_FALSE(fs::exists(GetPath("files") / "set-aside"));
    // A disk that takes no more: nothing half is left.
    QProcess bounded;
    bounded.setProcessEnvironment(environment);
    bounded.setWorkingDirectory(QString::fromStdString(manager.GetFolder().native()));
    bounded.start(
        QStringLiteral("bash"),
        {QStringLiteral("-c"), QString::fromStdString("trap '' XFSZ; ulimit -f 8; exec '" MACHINECTL "' --address " +
                                                      manager.GetAddress() + " backup full.tar")});
    const auto full = Finish(bounded);
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.errors, HasSubstr("cannot be written"));
    EXPECT_FALSE(fs::exists(GetPath("full.tar")));
}

TEST_F(BackupTest, ChecksWhatIsKeptAndGivesBackWhatWasLost)
{
    MakeJobs();
    const auto sound = Run({"check"});
    EXPECT_EQ(sound.status, 0) << sound.output;
    EXPECT_EQ(sound.output, "");
    ASSERT_EQ(Run({"backup", "folder/"}).status, 0);
    auto bytes = TestSupport::ReadFile(GetKeptPlatform());
    bytes[100] ^= 1;
    TestSupport::WriteFile(GetKeptPlatform(), bytes);
    fs::remove(manager.world.Desk()
                   .GetFile(Operator, manager.world.Desk().Find(Operator, "1").id, JobDesk::FileKind::MachineFile)
                   .second);

    EXPECT_THAT(Run({"check", "--quick"}).output, AllOf(HasSubstr("missing"), Not(HasSubstr("damaged"))));
    const auto found = Run({"check", "--json"});
    EXPECT_EQ(found.status, 7);
    const auto object = QJsonDocument::fromJson(QByteArray::fromStdString(found.output)).object();
    EXPECT_FALSE(object.value(QStringLiteral("sound")).toBool());
    std::map<std::string, int> kinds;
    for (const auto& finding : object.value(QStringLiteral("findings")).toArray())
        kinds[finding.toObject().value(QStringLiteral("kind")).toString().toStdString()] =
            finding.toObject().value(QStringLiteral("number")).toInt();
    EXPECT_THAT(kinds, ElementsAre(::testing::Pair("damaged", 2), ::testing::Pair("missing", 1)));
    EXPECT_EQ(Run({"backup", "lacking.tar"}).status, 7) << "and it says so";

    EXPECT_EQ(Run({"restore", "lacking.tar", "--files"}).status, 7);
    const auto mended = Run({"restore", "folder", "--files"});
    EXPECT_EQ(mended.output, "Files that were lost and are there again: 2\n") << mended.errors;
    EXPECT_EQ(Run({"check"}).status, 0);
    EXPECT_THAT(GetStates(), ElementsAre("pending", "completed")) << "jobs stay as they are";
    EXPECT_EQ(Run({"restore", "folder", "--files", "--replace"}).status, 2);
}

} // namespace
