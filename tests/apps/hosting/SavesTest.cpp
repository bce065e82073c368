#include "contract/JobFolder.h"
#include "contract/PrivateFile.h"
#include "hosting/ResultFiles.h"
#include "machineconfig/MachineConfigurationFile.h"
#include "machineconfig/PlatformMachineConfiguration.h"
#include "machinelayer/IMachineData.h"
#include "machinelayer/PldfFile.h"
#include "support/FailingCalls.h"
#include "support/Files.h"
#include "support/Test.h"
#include "tavam/AMXFileWriter.h"
#include "tavsdk/Path.h"
#include "tavsdk/XmlWriter.h"

#include <unistd.h>

#include <cstdio>

namespace {

namespace fs = std::filesystem;
using TestSupport::ReadFile;
using TestSupport::WriteFile;

/// Everything of ours that a user would miss if it were half written.
struct Save
{
    const char* what;
    /// Writes to the path; has to throw when it did not.
    std::function<void(const fs::path&)> run;
    fs::path name = "file.x";
    bool isReplacing = true;
};

class SavesTest : public testing::TestWithParam<Save>
{
protected:
    SavesTest() { fs::create_directories(_folder); }
    ~SavesTest() override { fs::remove_all(_folder); }

    /// What went wrong in the words of the one who saves; empty when nothing did.
    std::string _Run(const std::string& i_call, int i_index, int i_errno)
    {
        try {
            TestSupport::RunWithFailure(i_call, i_index, i_errno, [this] { GetParam().run(_path); });
        } catch (const std::exception& error) {
            return error.what();
        }
        return {};
    }

    /// With those that begin with a dot, at any depth.
    std::ptrdiff_t _CountFiles() const
    {
        return std::count_if(fs::recursive_directory_iterator(_folder), fs::recursive_directory_iterator(),
                             [](const fs::directory_entry& i_entry) { return i_entry.is_regular_file(); });
    }

    const fs::path _folder = testing::TempDir() + "saves \u00e9 " + std::to_string(getpid());
    const fs::path _path = _folder / GetParam().name;
};

TEST_P(SavesTest, IsWholeOrNotAtAllWhateverCallFails)
{
    const std::string old = GetParam().isReplacing ? "old" : "";
    const auto counts = TestSupport::CountCalls([this] { GetParam().run(_path); });
    const std::string whole = ReadFile(_path);
    ASSERT_NE(whole, "");
    int cases = 0;
    int failures = 0;
    for (const auto& [call, count] : counts) {
        for (int index = 0; index < count; ++index) {
            for (const int failure : TestSupport::GetErrorsOfCalls().at(call)) {
                SCOPED_TRACE(call + " " + std::to_string(index) + " fails with " + std::to_string(failure));
                fs::remove_all(_folder);
                fs::create_directories(_folder);
                if (GetParam().isReplacing)
                    WriteFile(_path, old);
                const std::string error = _Run(call, index, failure);
                const std::string found = ReadFile(_path);
                // Only the folder's own sync comes when the name is taken already; the file is whole then too.
                const bool isLate = call == "fsync" && index == count - 1;
                EXPECT_TRUE(found == whole || (!error.empty() && found == old)) << error;
                EXPECT_TRUE(error.empty() || isLate || found == old) << error;
                EXPECT_TRUE(error.empty() || error.find(testing::TempDir() + "saves ") != std::string::npos) << error;
                EXPECT_EQ(_CountFiles(), found.empty() ? 0 : 1);
                ++cases;
                failures += error.empty() ? 0 : 1;
            }
        }
    }
    EXPECT_GT(failures, 20);
    RecordProperty("cases", cases);
    std::printf("%s: %d cases, %d of them told as failures\n", GetParam().what, cases, failures);
}

void SavePlatform(const fs::path& i_path)
{
    TavAM::Platform platform;
    platform.SetName(L"platform");
    TavAM::AMXFileWriter().WriteFile(i_path, platform);
}

/// Names the file as those who write documents do.
void SaveDocument(const fs::path& i_path)
try {
    TavSDK::XmlWriter writer;
    if (!writer.Open(TavSDK::PathToWide(i_path)))
        throw std::runtime_error("no file can be made");
    writer.WriteStartTag("Text");
    writer.WriteCharacterData(std::string(100'000, 'x'));
    writer.WriteEndTag("Text");
    writer.Close();
} catch (const std::runtime_error& error) {
    throw std::runtime_error(i_path.string() + ": " + error.what());
}

/// A source outside of the folder that is looked at.
const fs::path& GetSource()
{
    static const fs::path source = [] {
        const fs::path path = testing::TempDir() + "saves source " + std::to_string(getpid());
        WriteFile(path, std::string(1'500'000, 'g'));
        return path;
    }();
    return source;
}

INSTANTIATE_TEST_SUITE_P(Saves, SavesTest,
                         testing::Values(Save{"Platform", SavePlatform},
                                         Save{"MachineRecord",
                                              [](const fs::path& i_path) {
                                                  MachineLayer::Utilities::SaveMachineDataPLDF(
                                                      i_path, *MachineLayer::CreateMachineData());
                                              }},
                                         Save{"MachineConfiguration",
                                              [](const fs::path& i_path) {
                                                  MachineService::PlatformMachineConfiguration configuration;
                                                  configuration.nesting.emplace();
                                                  MachineService::SaveMachineConfiguration(i_path, configuration);
                                              }},
                                         Save{"Document", SaveDocument},
                                         Save{"PrivateFile",
                                              [](const fs::path& i_path) {
                                                  MachineService::WritePrivateFile(i_path, std::string(3'000'000, 'p'));
                                              }},
                                         Save{"MachineFile",
                                              [](const fs::path& i_path) {
                                                  MachineService::JobFolder folder(
                                                      i_path.parent_path().parent_path().parent_path(), "machine",
                                                      "job");
                                                  folder.AddFile(GetSource(), ".x", {});
                                                  folder.Keep();
                                              },
                                              "machine/job/job.x", false},
                                         Save{"ResultOfAHost",
                                              [](const fs::path& i_path) {
                                                  Hosting::CopyFile(GetSource(), i_path);
                                              }}),
                         [](const auto& i_info) { return i_info.param.what; });

} // namespace
