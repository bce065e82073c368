#include "machinemanager/store/FileStore.h"

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/FileNames.h"
#include "support/FailingCalls.h"
#include "support/Files.h"
#include "support/Test.h"
#include "support/Texts.h"

#include <boost/uuid/name_generator_sha1.hpp>

#include <cstdlib>

#include <sys/stat.h>
#include <utime.h>

namespace {

using namespace MachineService::MachineManager;
using Kind = ManagerError::Kind;
namespace fs = std::filesystem;

/// Of "hello".
const std::string Hello = "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";

class FileStoreTest : public ::testing::Test
{
protected:
    FileStoreTest()
    {
        std::string name = fs::temp_directory_path() / "filestore-XXXXXX";
        folder = ::mkdtemp(name.data());
        store = std::make_unique<FileStore>(folder / "kept" / "files");
    }
    ~FileStoreTest() override { fs::remove_all(folder); }

    template <class Action>
    std::optional<Kind> GetKind(const Action& i_action)
    {
        try {
            i_action();
        } catch (const ManagerError& failure) {
            EXPECT_THAT(failure.what(), MatchesRegex(".+\\.( .+\\.)?"));
            return failure.GetKind();
        }
        return std::nullopt;
    }
    /// Everything that is in the store, kept or not.
    std::vector<std::string> GetNames() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::recursive_directory_iterator(folder / "kept" / "files")) {
            if (entry.is_regular_file())
                names.push_back(entry.path().filename().string());
        }
        return names;
    }
    static void MakeOlder(const fs::path& i_path, std::chrono::hours i_age)
    {
        const auto time = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now() - i_age);
        const utimbuf times = {time, time};
        ASSERT_EQ(::utime(i_path.c_str(), &times), 0);
    }
    static Time Now() { return std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now()); }

    const boost::uuids::uuid upload = boost::uuids::name_generator_sha1(boost::uuids::ns::url())("upload");
    fs::path folder;
    std::unique_ptr<FileStore> store;
};

TEST_F(FileStoreTest, AFileIsKeptByItsContentForItsOwnerAlone)
{
    TestSupport::WriteFile(folder / "a.gcode", "hello");
    const KeptFile kept = store->Add(folder / "a.gcode", "../x/plate\n.gcode");
    EXPECT_EQ(kept, (KeptFile{"plate.gcode", Hello, 5}));
    EXPECT_EQ(store->AddBytes("hello", "b").hash, Hello);
    EXPECT_EQ(TestSupport::ReadFile(store->GetPath(Hello)), "hello");
    EXPECT_THAT(GetNames(), ElementsAre(Hello));
    struct stat status = {};
    ASSERT_EQ(::stat(store->GetPath(Hello).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
    ASSERT_EQ(::stat((folder / "kept" / "files").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u);
    EXPECT_EQ(store->GetDiskUse(), 5u);

    EXPECT_FALSE(store->Has(std::string(64, '0')));
    EXPECT_FALSE(store->Has("../../a.gcode"));
    EXPECT_EQ(GetKind([&] { store->GetPath("../../a.gcode"); }), Kind::NotFound);
    EXPECT_EQ(GetKind([&] { store->Add(folder / "none", "none"); }), Kind::BadInput);
    EXPECT_EQ(GetKind([&] { store->Add(folder, "folder"); }), Kind::BadInput);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(GetKind([&] { store->Add(folder / "a.gcode", "a", stop.get_token()); }), Kind::Conflict);
    EXPECT_THAT(GetNames(), ElementsAre(Hello));
    // What the disk spoiled is whole again when it is handed in again.
    TestSupport::WriteFile(store->GetPath(Hello), "spoiled");
    store->AddBytes("hello", "b");
    EXPECT_EQ(TestSupport::ReadFile(store->GetPath(Hello)), "hello");
}

TEST_F(FileStoreTest, AnUploadGoesOnAfterAnInterruption)
{
    EXPECT_EQ(store->GetReceived(upload), 0u);
    store->Receive(upload, 0, "hex", 5);
    store = std::make_unique<FileStore>(folder / "kept" / "files");
    EXPECT_EQ(store->GetReceived(upload), 3u);
    EXPECT_EQ(GetKind([&] { store->Receive(upload, 4, "o", 5); }), Kind::Conflict);
    EXPECT_EQ(GetKind([&] { store->Receive(upload, 3, "lol", 5); }), Kind::BadInput);
    EXPECT_EQ(GetKind([&] { store->Receive(upload, 7, "", 5); }), Kind::BadInput);
    EXPECT_EQ(GetKind([&] { store->Receive(upload, 0, "", 1ull << 60); }), Kind::BadInput);
    store->Receive(upload, 2, "ll", 5);
    EXPECT_EQ(store->GetReceived(upload), 4u);
    store->Receive(upload, 4, "o", 5);
    EXPECT_FALSE(store->Has(Hello));
    EXPECT_EQ(store->Finish(upload, {"a/b.TavAMX", Hello, 5}), (KeptFile{"b.TavAMX", Hello, 5}));
    EXPECT_THAT(GetNames(), ElementsAre(Hello));
    EXPECT_EQ(TestSupport::ReadFile(store->GetPath(Hello)), "hello");
    EXPECT_EQ(store->GetReceived(upload), 0u);
    EXPECT_EQ(GetKind([&] { store->Finish(upload, {"b", Hello, 5}); }), Kind::NotFound);
}

TEST_F(FileStoreTest, WhatAnotherDaemonWroteToAnUploadIsReadAgain)
{
    FileStore other(folder / "kept" / "files");
    const KeptFile announced = {"b", Hello, 5};
    store->Receive(upload, 0, "hel", 5);
    other.Receive(upload, 0, "hex", 5);
    store->Receive(upload, 3, "lo", 5);
    EXPECT_EQ(GetKind([&] { store->Finish(upload, announced); }), Kind::BadInput);
    store->Receive(upload, 0, "help!", 5);
    other.Receive(upload, 3, "lo", 5);
    EXPECT_EQ(store->Finish(upload, announced), announced);
    store->Receive(upload, 0, "hello", 5);
    other.Drop(upload);
    other.Receive(upload, 0, "hallo", 5);
    EXPECT_EQ(GetKind([&] { store->Finish(upload, announced); }), Kind::BadInput);
}

TEST_F(FileStoreTest, WhatIsNotAsAnnouncedIsRefusedAndGone)
{
    const auto refuse = [&](const std::string& i_bytes, const KeptFile& i_announced) {
        store->Receive(upload, 0, i_bytes, 100);
        EXPECT_EQ(GetKind([&] { store->Finish(upload, i_announced); }), Kind::BadInput);
    };
    refuse("hell", {"short", Hello, 5});
    EXPECT_THAT(GetNames(), IsEmpty());
    refuse("hello!", {"long", Hello, 5});
    EXPECT_THAT(GetNames(), IsEmpty());
    refuse("hallo", {"other", Hello, 5});
    EXPECT_THAT(GetNames(), IsEmpty());
    refuse("hello", {"path", "../../../../etc/passwd", 5});
    refuse("hello", {"upper", TestSupport::Replaced(Hello, "2cf", "2CF"), 5});
    store->Drop(upload);
    store->Drop(upload);
    EXPECT_THAT(GetNames(), IsEmpty());
}

TEST_F(FileStoreTest, SweepingTakesWhatIsNeitherNeededNorNew)
{
    const auto needed = store->AddBytes("needed", "a").hash;
    const auto old = store->AddBytes("old", "b").hash;
    const auto fresh = store->AddBytes("fresh", "c").hash;
    const auto again = store->AddBytes("again", "d").hash;
    for (const auto& hash : {needed, old, again})
        MakeOlder(store->GetPath(hash), std::chrono::hours(2));
    store->AddBytes("again", "d");
    store->Receive(upload, 0, "half", 10);
    const auto getNeeded = [&] {
        return std::set<std::string>{needed};
    };
    EXPECT_EQ(store->Sweep(getNeeded, Now()), 3u);
    EXPECT_THAT(GetNames(), UnorderedElementsAre(needed, fresh, again, Not(IsEmpty())));
    EXPECT_EQ(store->GetReceived(upload), 4u);
    for (const auto& entry : fs::directory_iterator(folder / "kept" / "files" / "incoming"))
        MakeOlder(entry.path(), std::chrono::hours(25));
    EXPECT_EQ(store->Sweep(getNeeded, Now()), 4u);
    EXPECT_EQ(store->GetReceived(upload), 0u);
    EXPECT_EQ(store->Sweep(getNeeded, Now() + std::chrono::hours(2)), 10u);
    EXPECT_THAT(GetNames(), ElementsAre(needed));
}

TEST_F(FileStoreTest, NamesAreCleaned)
{
    const std::string emoji = "\xF0\x9F\x98\x80";
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"plate.TavAMX", "plate.TavAMX"},
        {"/etc/passwd", "passwd"},
        {"C:\\Users\\x.stl", "x.stl"},
        {"..", "file"},
        {"a/..", "file"},
        {"", "file"},
        {" . ", "file"},
        {std::string("a\0b\x1b[31m\x7f", 9), "ab[31m"},
        {"a\xE2\x80\xAE"
         "fdp.exe",
         "afdp.exe"},
        {"\xff"
         "x",
         "\xEF\xBF\xBDx"},
        {TestSupport::Repeat("n", 300) + ".gcode", TestSupport::Repeat("n", 194) + ".gcode"},
        {TestSupport::Repeat(emoji, 60), TestSupport::Repeat(emoji, 50)},
    };
    for (const auto& [name, clean] : rows)
        EXPECT_EQ(CleanFileName(name), clean) << name;
}

TEST_F(FileStoreTest, EachCallThatFailsIsASentenceAndLeavesNothingHalf)
{
    TestSupport::WriteFile(folder / "a.gcode", "hello");
    using Action = std::function<void()>;
    const std::vector<std::pair<std::string, Action>> actions = {
        {"add",
         [&] {
             store->Add(folder / "a.gcode", "a");
         }},
        {"upload",
         [&] {
             store->Receive(upload, 0, "hel", 5);
             store->Receive(upload, 3, "lo", 5);
             store->Finish(upload, {"a", Hello, 5});
         }},
    };
    for (const auto& [name, action] : actions) {
        const auto counts = TestSupport::CountCalls(action);
        EXPECT_GT(counts.at("fsync"), 0);
        for (const auto& [call, count] : counts) {
            if (!TestSupport::GetErrorsOfCalls().contains(call))
                continue;
            for (int index = 0; index < count; ++index) {
                // Each waits for a real disk several times: an error that is tried again, and one that is not.
                auto errors = TestSupport::GetErrorsOfCalls().at(call);
                errors.resize(std::min<std::size_t>(errors.size(), 3));
                for (const int error : errors) {
                    SCOPED_TRACE(name + ' ' + call + ' ' + std::to_string(index) + ' ' + std::to_string(error));
                    fs::remove_all(folder / "kept");
                    store = std::make_unique<FileStore>(folder / "kept" / "files");
                    std::optional<Kind> kind;
                    TestSupport::RunWithFailure(call, index, error, [&, &run = action] { kind = GetKind(run); });
                    // The last thing that may fail is bringing the folder to the disk: the file is whole then.
                    if (!kind || store->Has(Hello)) {
                        EXPECT_EQ(TestSupport::ReadFile(store->GetPath(Hello)), "hello");
                    }
                    if (kind) {
                        EXPECT_TRUE(kind == Kind::Storage || kind == Kind::BadInput || kind == Kind::NotFound);
                        EXPECT_EQ(GetKind(action), std::nullopt);
                    }
                    EXPECT_THAT(GetNames(), ElementsAre(Hello));
                }
            }
        }
    }
}

} // namespace
