#include "services/ServiceFiles.h"

#include "buildprocessor/base/ContentCache.h"
#include "hashing/Sha256.h"

#include <sys/stat.h>

#include <thread>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using namespace Testing;
namespace fs = std::filesystem;

std::string MakeKey(int i_number)
{
    Sha256 hash;
    hash.AddValue(i_number);
    return hash.GetHex();
}

class ContentCacheTest : public ::testing::Test
{
protected:
    fs::path MakeFile(const std::string& i_content)
    {
        WriteFile(dir / "source", i_content);
        return dir / "source";
    }
    /// Empty when there is none.
    std::string Copy(const ContentCache& i_cache, int i_number)
    {
        const auto target = dir / "target";
        fs::remove(target);
        const bool isThere = i_cache.CopyFile(MakeKey(i_number), target, {});
        EXPECT_EQ(fs::exists(target), isThere);
        return isThere ? ReadFile(target) : std::string();
    }

    const ScopedTempDir folder;
    const fs::path dir = folder.GetAbsoluteDir();
    const fs::path store = dir / "a" / "store";
    const ContentCache cache{store, {}};
};

TEST_F(ContentCacheTest, GivesBackWhatWasKeptToItsOwnerAlone)
{
    EXPECT_FALSE(cache.FindText(MakeKey(1)));
    cache.Keep(MakeKey(1), "text\n2", MakeFile("content"), {});
    cache.Keep(MakeKey(2), "", {}, {});
    EXPECT_EQ(cache.FindText(MakeKey(1)), "text\n2");
    EXPECT_EQ(cache.FindText(MakeKey(2)), "");
    EXPECT_EQ(Copy(cache, 1), "content");
    EXPECT_EQ(Copy(cache, 2), "");
    struct stat info = {};
    stat(store.c_str(), &info);
    EXPECT_EQ(info.st_mode & 0777, 0700U);
    for (const auto& entry : fs::directory_iterator(store)) {
        stat(entry.path().c_str(), &info);
        EXPECT_EQ(info.st_mode & 0777, 0600U) << entry.path();
    }
    fs::remove_all(store);
    EXPECT_FALSE(cache.FindText(MakeKey(1)));
}

TEST_F(ContentCacheTest, WhatIsDamagedIsMissing)
{
    const auto damage = [](const fs::path& i_file, const std::string& i_how) {
        const std::string content = ReadFile(i_file);
        fs::remove(i_file);
        if (i_how == "a folder")
            fs::create_directory(i_file);
        else if (i_how != "gone")
            WriteFile(i_file, i_how == "cut"     ? content.substr(0, content.size() - 1)
                              : i_how == "empty" ? ""
                              : i_how == "grown" ? content + "x"
                                                 : Replaced(content, "te", "et"));
    };
    for (const char* const how : {"cut", "empty", "grown", "other", "a folder", "gone"}) {
        for (const char* const extension : {".entry", ".file"}) {
            fs::remove_all(store);
            cache.Keep(MakeKey(1), "text", MakeFile("content"), {});
            for (const auto& entry : fs::directory_iterator(store)) {
                if (entry.path().extension() == extension)
                    damage(entry.path(), how);
            }
            EXPECT_EQ(Copy(cache, 1), "") << how << extension;
            EXPECT_FALSE(cache.FindText(MakeKey(1))) << how << extension;
            cache.Keep(MakeKey(1), "text", MakeFile("content"), {});
            EXPECT_EQ(Copy(cache, 1), "content") << how << extension;
        }
    }
}

TEST_F(ContentCacheTest, StaysWithinItsBoundsAndLosesTheLongestUnused)
{
    const ContentCache small{store, {10'000, std::chrono::hours(1)}};
    const auto age = [&](std::chrono::minutes i_by) {
        for (const auto& entry : fs::directory_iterator(store))
            fs::last_write_time(entry.path(), entry.last_write_time() - i_by);
    };
    for (int number = 1; number <= 3; ++number) {
        small.Keep(MakeKey(number), "text", MakeFile(std::string(4000, static_cast<char>('0' + number))), {});
        age(std::chrono::minutes(1));
        EXPECT_NE(Copy(small, 1), "") << "it is used";
    }
    EXPECT_EQ(Copy(small, 2), "");
    EXPECT_NE(Copy(small, 3), "");
    small.Keep(MakeKey(4), "text", MakeFile(std::string(20'000, '4')), {});
    EXPECT_FALSE(small.FindText(MakeKey(4)));
    age(std::chrono::hours(2));
    small.Keep(MakeKey(5), "text", {}, {});
    EXPECT_EQ(std::distance(fs::directory_iterator(store), fs::directory_iterator()), 1);
    const ContentCache off{dir / "off", {0, std::chrono::hours(1)}};
    off.Keep(MakeKey(1), "text", {}, {});
    EXPECT_FALSE(fs::exists(dir / "off"));
}

TEST_F(ContentCacheTest, ManyAtOnceNeverGiveHalfOfAnything)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            const auto source = dir / ("source" + std::to_string(thread));
            const auto target = dir / ("target" + std::to_string(thread));
            for (int round = 0; round < 50; ++round) {
                const std::string content(50'000, static_cast<char>('a' + (thread + round) % 3));
                WriteFile(source, content);
                cache.Keep(MakeKey(round % 2), content.substr(0, 10), source, {});
                if (!cache.CopyFile(MakeKey(round % 2), target, {}))
                    continue;
                const std::string copied = ReadFile(target);
                EXPECT_EQ(copied, std::string(50'000, copied.at(0)));
                fs::remove(target);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_NE(Copy(cache, 0), "");
    for (const auto& entry : fs::directory_iterator(store))
        EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
}

TEST_F(ContentCacheTest, AFolderThatCannotBeMadeAndAStopAreNoHarm)
{
    WriteFile(dir / "file", "x");
    const ContentCache blocked{dir / "file" / "store", {}};
    blocked.Keep(MakeKey(1), "text", MakeFile("content"), {});
    EXPECT_FALSE(blocked.FindText(MakeKey(1)));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(GetFailure([&] { cache.Keep(MakeKey(1), "text", MakeFile("content"), stop.get_token()); }).code,
              ErrorCode::ProcessingAborted);
    EXPECT_TRUE(fs::is_empty(store));
}

} // namespace
