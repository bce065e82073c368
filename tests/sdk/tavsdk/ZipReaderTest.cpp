#include "support/Files.h"
#include "support/Texts.h"
#include "support/ZipPackage.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/ZipReader.h"
#include "tavsdk/ZipWriter.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

using TavSDK::ZipReader;
using TavSDK::ZipWriter;

using Entry = TestSupport::PackageEntry;

class ZipReaderTest : public testing::Test
{
protected:
    ~ZipReaderTest() override { std::filesystem::remove(_path); }

    void _Make(const std::vector<Entry>& i_entries) { TestSupport::WritePackage(_path, i_entries); }

    /// Empty when all its entries can be read, of the file and of the same bytes in memory.
    std::string _GetError() const
    {
        const std::string bytes = TestSupport::ReadFile(_path);
        const std::string error = _Read([this] { return ZipReader(_path); });
        EXPECT_EQ(_Read([&bytes] { return ZipReader::FromBytes(bytes); }).empty(), error.empty());
        return error;
    }

    std::string _GetErrorOf(const std::vector<Entry>& i_entries)
    {
        _Make(i_entries);
        return _GetError();
    }

    const std::filesystem::path _path = testing::TempDir() + "zip \u05d0\u00e9 " + std::to_string(getpid());

private:
    static constexpr std::uint64_t Longest = 30'000'000;

    template <class Open>
    static std::string _Read(const Open& i_open)
    {
        try {
            const ZipReader package = i_open();
            for (const std::string& name : package.GetNames())
                package.ReadBytes(name, Longest);
            return {};
        } catch (const TavSDK::FileError& error) {
            return error.what();
        }
    }
};

TEST_F(ZipReaderTest, ReadsWhatOtherToolsWrite)
{
    const std::filesystem::path folder = MACHINESERVICE_TEST_DATA "/packages";
    for (const char* name : {"64-bit.zip", "64-bit-streamed.zip", "streamed.zip"}) {
        SCOPED_TRACE(name);
        const ZipReader package(folder / name);
        EXPECT_THAT(package.GetNames(), ElementsAre("stored.txt", "folder/deflated.txt"));
        EXPECT_EQ(package.ReadBytes("stored.txt", 12), "stored bytes");
        EXPECT_EQ(package.ReadBytes("folder/deflated.txt", 1000), TestSupport::Repeat("deflated ", 20));
        EXPECT_FALSE(package.Has("deflated.txt"));
        EXPECT_THROW(package.Open("deflated.txt"), TavSDK::FileError);
        EXPECT_THROW(package.ReadBytes("stored.txt", 11), TavSDK::FileError);
    }
}

TEST_F(ZipReaderTest, APackageThatTricksIsRefused)
{
    for (const char* name : {"../x", "/x", "a/../../x", "a/..", "..", "a\\x", "C:x"})
        EXPECT_THAT(_GetErrorOf({{"good", "x"}, {name, "x"}}), HasSubstr("outside of the package")) << name;
    EXPECT_EQ(_GetErrorOf({{"..a/b..", "x"}}), "");

    std::vector<Entry> many(10000);
    for (std::size_t index = 0; index < many.size(); ++index)
        many[index].name = std::to_string(index);
    EXPECT_EQ(_GetErrorOf(many), "");
    many.push_back({"last", ""});
    EXPECT_THAT(_GetErrorOf(many), HasSubstr("10001 entries"));
    EXPECT_NO_THROW(ZipReader(_path, {.entries = 10001}));

    // libzip makes no package with the same name twice: the name is changed afterwards.
    _Make({{"name", "x"}, {"nam_", "x"}});
    std::string bytes = TestSupport::ReadFile(_path);
    for (std::size_t at = bytes.find("nam_"); at != std::string::npos; at = bytes.find("nam_"))
        bytes[at + 3] = 'e';
    TestSupport::WriteFile(_path, bytes);
    EXPECT_THAT(_GetError(), HasSubstr("has an entry twice"));

    const std::string bomb(20'000'000, ' ');
    EXPECT_THAT(_GetErrorOf({{"x", bomb, true}}), HasSubstr("packed more than 100 : 1"));
    EXPECT_EQ(_GetErrorOf({{"x", bomb, false}}), "");
    EXPECT_EQ(_GetErrorOf({{"x", bomb.substr(0, 100'000), true}}), "");
    // What is said of one entry counts for all of them together.
    std::vector<Entry> bombs(30);
    for (std::size_t index = 0; index < bombs.size(); ++index)
        bombs[index] = {std::to_string(index), bomb.substr(0, 90'000), true};
    EXPECT_THAT(_GetErrorOf(bombs), HasSubstr("packed more than 100 : 1"));
    _Make({{"x", bomb, false}});
    EXPECT_THROW(ZipReader(_path, {.unpackedSize = bomb.size() - 1}).ReadBytes("x", bomb.size()), TavSDK::FileError);
    EXPECT_NO_THROW(ZipReader(_path, {.ratio = 1}).ReadBytes("x", bomb.size()));
}

TEST_F(ZipReaderTest, CutItIsRefused)
{
    _Make({{"x", "stored"}, {"y", std::string(1000, 'y'), true}});
    const std::string sound = TestSupport::ReadFile(_path);
    for (std::size_t size = 0; size < sound.size(); ++size) {
        TestSupport::WriteFile(_path, sound.substr(0, size));
        ASSERT_NE(_GetError(), "") << size;
    }
    std::filesystem::remove(_path);
    EXPECT_EQ(mkfifo(_path.c_str(), 0600), 0);
    EXPECT_THROW(ZipReader{_path}, TavSDK::FileError);
}

TEST_F(ZipReaderTest, ReadsWhatTheWriterWrites)
{
    const std::filesystem::path other = _path.string() + ".member";
    TestSupport::WriteFile(other, "member of a file");
    const std::string grid(3'000'000, ' ');
    ZipWriter writer;
    writer.Add("pieces", {"one, ", "", "two"}, ZipWriter::Packing::Deflate);
    writer.AddFile("folder/file", other, ZipWriter::Packing::Store);
    writer.Add("packs too well", {grid}, ZipWriter::Packing::Deflate);
    std::string first;
    for (int round = 0; round < 2; ++round) {
        TavSDK::AtomicFile file(_path);
        file.Write("what lay there is overwritten");
        writer.Write(file.GetDescriptor());
        file.Commit();
        EXPECT_EQ(_GetError(), "");
        const std::string bytes = TestSupport::ReadFile(_path);
        EXPECT_TRUE(first.empty() || bytes == first);
        first = bytes;
    }
    const ZipReader package(_path);
    EXPECT_THAT(package.GetNames(), ElementsAre("pieces", "folder/file", "packs too well"));
    EXPECT_EQ(package.ReadBytes("pieces", 100), "one, two");
    EXPECT_EQ(package.ReadBytes("folder/file", 100), "member of a file");
    EXPECT_EQ(package.ReadBytes("packs too well", grid.size()), grid);
    std::filesystem::remove(other);
}

} // namespace
