#include "support/Files.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using TestSupport::ReadFile;
using TestSupport::WriteFile;

class AtomicFileTest : public testing::Test
{
protected:
    AtomicFileTest() { fs::create_directories(_folder); }
    ~AtomicFileTest() override { fs::remove_all(_folder); }

    static fs::perms _GetRights(const fs::path& i_path) { return fs::status(i_path).permissions(); }

    const fs::path _folder = testing::TempDir() + "atomic \u00e9 " + std::to_string(getpid());
    const fs::path _path = _folder / std::string(255, 'n');
};

TEST_F(AtomicFileTest, TheNameIsTheOldFilesUntilTheNewOneIsComplete)
{
    WriteFile(_path, "old");
    fs::permissions(_path, fs::perms(0640));
    {
        TavSDK::AtomicFile file(_path);
        file.Write("given up");
        EXPECT_EQ(_GetRights(file.GetTemporaryPath()), fs::perms(0600));
        EXPECT_EQ(file.GetTemporaryPath().filename().native().front(), '.');
    }
    EXPECT_EQ(ReadFile(_path), "old");
    TavSDK::AtomicFile file(_path);
    // Longer than the pieces that it is copied in.
    std::string content;
    for (int number = 0; content.size() < 2'500'000; ++number)
        content += std::to_string(number);
    WriteFile(_folder / "source", content);
    TavSDK::InputFile source(_folder / "source");
    file.Write("new ");
    file.Copy(source);
    file.TakeRightsOfTarget();
    EXPECT_EQ(ReadFile(_path), "old");
    file.Commit();
    EXPECT_TRUE(ReadFile(_path) == "new " + content);
    EXPECT_EQ(_GetRights(_path), fs::perms(0640));
    EXPECT_EQ(TestSupport::GetFileNames(_folder).size(), 2U);
}

TEST_F(AtomicFileTest, AnotherNameIsTakenOnlyWhenItIsFree)
{
    WriteFile(_folder / "a", "old");
    TavSDK::AtomicFile file(_folder / "a");
    file.Write("new");
    EXPECT_FALSE(file.TryCommitAs(_folder / "a"));
    EXPECT_TRUE(file.TryCommitAs(_folder / "b"));
    EXPECT_EQ(ReadFile(_folder / "a"), "old");
    EXPECT_EQ(ReadFile(_folder / "b"), "new");
}

TEST_F(AtomicFileTest, WhatCannotBeWrittenLeavesNothing)
{
    EXPECT_THROW(TavSDK::AtomicFile(_folder / "caf\xe9"), TavSDK::FileError);
    EXPECT_THROW(TavSDK::AtomicFile("/nonexistent/x"), TavSDK::FileError);
    fs::create_directory(_path);
    WriteFile(_path / "x", "kept");
    EXPECT_THROW(TavSDK::AtomicFile(_path).Commit(), TavSDK::FileError);
    EXPECT_EQ(ReadFile(_path / "x"), "kept");
    EXPECT_EQ(TestSupport::GetFileNames(_folder).size(), 1U);
}

TEST_F(AtomicFileTest, OnlyRegularFilesAreReadAndOnlyWithinTheirBound)
{
    WriteFile(_path, "12345");
    EXPECT_EQ(TavSDK::ReadFile(_path, 5), "12345");
    EXPECT_THROW(TavSDK::ReadFile(_path, 4), TavSDK::FileError);
    EXPECT_THROW(TavSDK::ReadFile(_folder, 100), TavSDK::FileError);
    EXPECT_FALSE(TavSDK::InputFile::OpenIfThere(_folder / "x"));
    EXPECT_THROW(TavSDK::InputFile(_folder / "x"), TavSDK::FileError);
    ASSERT_EQ(mkfifo((_folder / "pipe").c_str(), 0600), 0);
    EXPECT_THROW(TavSDK::InputFile::OpenIfThere(_folder / "pipe"), TavSDK::FileError);
    // Tells of no size, and has one.
    EXPECT_GT(TavSDK::ReadFile("/proc/self/maps", 1'000'000).size(), 0U);
    EXPECT_THROW(TavSDK::ReadFile("/proc/self/maps", 10), TavSDK::FileError);
    TavSDK::InputFile file(_path);
    EXPECT_EQ(file.ReadAll(5), "12345");
    EXPECT_EQ(file.ReadAll(5), "");
    file.Rewind();
    EXPECT_EQ(file.ReadAll(5), "12345");
}

} // namespace
