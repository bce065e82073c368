#include "services/remote/RemoteFixture.h"
#include "support/Failures.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Path.h"

namespace MachineService::Testing {

namespace {

namespace fs = std::filesystem;
using TavAM::PropertyNames::Print3D::MachineFile;

/// A loom that builds: it leaves a platform, and beside it what the test says.
class RemoteBuildTest : public RemoteLooms
{
protected:
    RemoteBuildTest()
    {
        machine.commands[0].description.dataFormat = DataFormat::Platform;
        run = [this](const CommandRun& i_run) {
            const fs::path own = folder.GetAbsoluteDir() / "service";
            for (const auto& [name, content] : left) {
                TestSupport::WriteFile(own / name, content);
                TestSupport::WriteFile(i_run.parameters.outputDir / name, content);
            }
            TavAM::Platform platform;
            platform.SetName(L"cloth");
            if (!named.empty())
                platform.GetAMXProperties().SetText(MachineFile, TavSDK::PathToWide(named));
            auto result = i_run.ReturnPlatform(platform, DataFormat::Platform);
            // Whatever hosts have, they have by the wire.
            fs::remove_all(own);
            return result;
        };
    }

    CommandResult Build() { return GetLoom().RunCommand(MakeParameters("x")).get(); }
    /// As the platform that the host would load names it.
    std::wstring GetNamed()
    {
        TavAM::Database database;
        TavAM::AMXFileReader::Read(folder.GetAbsoluteDir() / "out" / "platform.TavAMX", database);
        EXPECT_EQ(database.GetPlatform(0)->GetName(), L"cloth");
        return database.GetPlatform(0)->GetAMXProperties().GetText(MachineFile).value_or(L"none");
    }
    /// Folders and files of the host's jobs.
    std::vector<std::string> GetJobs()
    {
        std::vector<std::string> names;
        const auto jobs = folder.GetAbsoluteDir() / "data" / "jobs";
        if (fs::exists(jobs)) {
            for (const auto& entry : fs::recursive_directory_iterator(jobs))
                names.push_back(entry.path().lexically_relative(jobs));
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::map<std::string, std::string> left;
    std::string named = "/service/job.loom"; ///< by the service
};

TEST_F(RemoteBuildTest, TheMachineFileIsTheHostsByteForByteWhateverBecomesOfTheServices)
{
    std::string content = "warp\r\n";
    for (int byte = 0; content.size() < 700'000; ++byte)
        content += static_cast<char>(byte * 7);
    left = {{"job.loom", content}};
    named = folder.GetAbsoluteDir() / "service" / "job.loom";
    Start();
    ConnectAndRun();
    const std::string machineFolder = "Loom - 00000001";
    for (const std::string job : {"_job", "_job (2)"}) {
        Build();
        const auto kept = TavSDK::PathFromWide(GetNamed());
        EXPECT_EQ(kept, folder.GetAbsoluteDir() / "data" / "jobs" / machineFolder / job / "_job.loom");
        EXPECT_EQ(TestSupport::ReadFile(kept), content);
        EXPECT_EQ(fs::status(kept).permissions(), fs::perms(0600));
        EXPECT_EQ(fs::status(kept.parent_path()).permissions(), fs::perms(0700));
    }
}

TEST_F(RemoteBuildTest, WhatAServiceSaysOfItsOwnDiskDoesNotCount)
{
    // A file that this host could read.
    named = MakeParameters("x").inputFile;
    Start();
    ConnectAndRun();
    Build();
    EXPECT_EQ(GetNamed(), L"");
    named.clear();
    Build();
    EXPECT_EQ(GetNamed(), L"none");
    EXPECT_THAT(GetJobs(), IsEmpty());
}

TEST_F(RemoteBuildTest, AnExtensionOfTheServiceIsNoWayOut)
{
    Start();
    ConnectAndRun();
    for (const auto& [name, kept] :
         std::vector<std::pair<std::string, std::string>>{{"x.a:b*", "_job.a_b_"},
                                                          {"x." + std::string(200, 'e'), "_job"},
                                                          {"x.\u202Ecod", "_job.cod"},
                                                          {"x", "_job"}}) {
        left = {{name, "content"}};
        Build();
        EXPECT_EQ(TavSDK::PathFromWide(GetNamed()).filename(), kept);
    }
}

TEST_F(RemoteBuildTest, NothingIsKeptOfABuildThatFailsOrIsCancelled)
{
    Start();
    ConnectAndRun();
    left = {{"a.loom", "a"}, {"b.loom", "b"}};
    const auto failure = GetFailure([&] { Build(); });
    EXPECT_EQ(failure.code, ErrorCode::InternalError);
    EXPECT_THAT(failure.text, HasSubstr("left 2 files beside the platform"));
    EXPECT_THAT(GetJobs(), IsEmpty());

    left = {{"a.loom", "a"}};
    std::stop_source stop;
    auto parameters = MakeParameters("x");
    parameters.stopToken = stop.get_token();
    // The last moment in which the user can: everything is here but the host's own copy.
    parameters.onProgress = [&](int, const std::string& i_stage) {
        if (i_stage == "Keeping the machine file")
            stop.request_stop();
    };
    EXPECT_EQ(GetFailure([&] { GetLoom().RunCommand(parameters).get(); }).code, ErrorCode::ProcessingAborted);
    EXPECT_TRUE(stop.stop_requested());
    EXPECT_THAT(GetJobs(), IsEmpty());

    fs::remove_all(folder.GetAbsoluteDir() / "data" / "jobs");
    TestSupport::WriteFile(folder.GetAbsoluteDir() / "data" / "jobs", "in the way");
    EXPECT_THAT(GetFailure([&] { Build(); }).text, AllOf(HasSubstr("jobs"), HasSubstr("cannot be made")));
}

} // namespace

} // namespace MachineService::Testing
