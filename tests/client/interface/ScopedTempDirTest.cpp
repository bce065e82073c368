#include "client/interface/ScopedTempDir.h"
#include "support/Files.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <thread>

namespace {

namespace fs = std::filesystem;
using MachineService::ScopedTempDir;

class ScopedTempDirTest : public testing::Test
{
protected:
    ScopedTempDirTest()
    {
        fs::create_directories(_base);
        fs::permissions(_base, fs::perms::all);
        setenv("TMPDIR", _base.c_str(), 1);
    }
    ~ScopedTempDirTest() override
    {
        fs::current_path("/");
        unsetenv("TMPDIR");
        fs::remove_all(_base);
    }

    const fs::path _base = fs::path("/tmp") / ("tempd\u00efr\u05d0" + std::to_string(getpid()));
};

TEST_F(ScopedTempDirTest, GoesWithWhatIsInItWhereverTheWorkingFolderIs)
{
    fs::create_directories(_base / "relative");
    fs::current_path(_base);
    setenv("TMPDIR", "relative", 1);
    {
        const ScopedTempDir dir;
        EXPECT_TRUE(dir.GetAbsoluteDir().is_absolute());
        fs::current_path("/");
        TestSupport::WriteFile(dir.GetAbsoluteFileNameInTempDir("\u00e9.TavAMX"), "x");
        EXPECT_EQ(dir.GetFilesByFilter("*.tavamx").size(), 1U);
    }
    EXPECT_TRUE(fs::is_empty(_base / "relative"));
}

TEST_F(ScopedTempDirTest, NamesNoFileOutsideOfIt)
{
    const ScopedTempDir dir;
    for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("../other"),
                                    std::string("a/b"), std::string("a\0b", 3)})
        EXPECT_THAT([&] { dir.GetAbsoluteFileNameInTempDir(name); },
                    testing::ThrowsMessage<std::exception>(testing::HasSubstr("is not a file name")));
}

TEST_F(ScopedTempDirTest, GoesWithFoldersThatNobodyMayWriteOrRead)
{
    TestSupport::WriteFile(_base / "kept", "x");
    // Root may do everything: the test is another user's.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0)
            _exit(2);
        {
            const ScopedTempDir dir;
            const fs::path deep = dir.GetAbsoluteDir() / "a" / "b";
            TestSupport::WriteFile(deep / "file", "x");
            fs::create_symlink(_base, dir.GetAbsoluteDir() / "link");
            fs::permissions(deep / "file", fs::perms::none);
            fs::permissions(deep, fs::perms::none);
            fs::permissions(deep.parent_path(), fs::perms(0500));
            fs::permissions(dir.GetAbsoluteDir(), fs::perms(0500));
        }
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(TestSupport::GetFileNames(_base), testing::ElementsAre("kept"));
}

TEST_F(ScopedTempDirTest, GoesWhileAMachineStillWrites)
{
    for (int round = 0; round < 20; ++round) {
        std::optional<ScopedTempDir> dir(std::in_place);
        const fs::path folder = dir->GetAbsoluteDir() / "out";
        std::atomic<int> written = 0;
        std::atomic<bool> isOver = false;
        std::thread machine([&] {
            while (!isOver) {
                std::error_code ignored;
                fs::create_directory(folder, ignored);
                if (std::ofstream(folder / std::to_string(written)) << "x")
                    ++written;
            }
        });
        while (written < 20)
            std::this_thread::yield();
        dir.reset();
        isOver = true;
        machine.join();
        EXPECT_TRUE(fs::is_empty(_base)) << round;
    }
}

TEST_F(ScopedTempDirTest, AFolderThatIsNotUtf8IsRefusedInASentence)
{
    const fs::path odd = _base / "caf\xe9";
    fs::create_directories(odd);
    setenv("TMPDIR", odd.c_str(), 1);
    EXPECT_THAT([] { ScopedTempDir(); },
                testing::ThrowsMessage<std::exception>(testing::HasSubstr("caf\ufffd', is not UTF-8")));
    EXPECT_TRUE(fs::is_empty(odd));
}

} // namespace
