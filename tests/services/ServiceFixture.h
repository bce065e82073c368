#pragma once

#include "services/ServiceFiles.h"

#include "client/interface/ICommunicationServiceAPI.h"
#include "tavam/AMXFileReader.h"

#include <QByteArray>

#include <boost/uuid/string_generator.hpp>

#include <algorithm>
#include <cstdlib>

#include <sys/stat.h>

namespace MachineService::Testing {

inline const std::string TestId = "11111111-2222-3333-4444-555555555555";
inline const std::string ResinId = "5b1d6f0e-6a0c-4c1e-9f4e-2d7a61c0a104";

inline bool IsEngineInstalled()
{
    return std::system("command -v prusa-slicer >/dev/null 2>&1") == 0;
}

inline std::wstring GetText(const TavAM::Object& i_object, const wchar_t* ip_name)
{
    return i_object.GetAMXProperties().GetText(ip_name).value_or(L"-1");
}

inline double GetNumber(const TavAM::Object& i_object, const wchar_t* ip_name)
{
    return std::stod(GetText(i_object, ip_name));
}

inline TavAM::Platform MakePlatform(std::vector<TavAM::Part> i_parts)
{
    TavAM::Platform platform;
    platform.SetName(L"plate");
    platform.GetParts() = std::move(i_parts);
    return platform;
}

inline TavAM::Platform ReadPlatform(const std::filesystem::path& i_path)
{
    TavAM::AMXFileReader reader;
    TavAM::Database database;
    EXPECT_TRUE(reader.ReadFile(i_path, database)) << reader.GetError();
    return database.GetNumPlatforms() == 1 ? *database.GetPlatform(0) : TavAM::Platform();
}

inline TavAM::Part MakeCube(const std::wstring& i_name, float i_x, const wchar_t* ip_strategy = nullptr)
{
    auto part = MakePart(i_name, ToRepresentation(MakeBox(i_x, 20, 0, 15, 15, 6)));
    if (ip_strategy)
        part.SetStrategies(TavAM::Part::Strategies{{L"part", ip_strategy}});
    return part;
}

/// For tests that need the real engine.
template <class Test>
class WithEngine : public Test
{
protected:
    void SetUp() override
    {
        if (!IsEngineInstalled())
            GTEST_SKIP() << "the package prusa-slicer is not installed";
    }
};

/// A service whose temporary files, jobs and profiles lie in one folder.
class ServiceTest : public ::testing::Test
{
protected:
    ServiceTest()
    {
        // Not among the temporary files of this test.
        GetSharedCache();
        std::filesystem::create_directories(dir / "temp");
        std::filesystem::create_directories(dir / "output");
        formerTemp = qgetenv("TMPDIR");
        qputenv("TMPDIR", (dir / "temp").c_str());
    }
    ~ServiceTest() override
    {
        catalog.reset();
        formerTemp.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", formerTemp);
    }

    /// What the engine says of a profile is asked once for all tests of a program.
    static std::filesystem::path GetSharedCache()
    {
        static const ScopedTempDir cache;
        return cache.GetAbsoluteDir();
    }

    void Start(const std::string& i_profile = MakeProfile(), std::map<std::string, std::string> i_settings = {})
    {
        WriteFile(profiles / "test.json", i_profile);
        i_settings.try_emplace("cache.path", GetSharedCache().string());
        const auto api = CreateCommunicationService();
        catalog = api->CreateMachinesCatalog([&](ServiceId) { return std::make_unique<TestUtility>(dir, i_settings); });
        Journal<ServiceStatus> status;
        const auto connection =
            catalog->ConnectServiceStatusUpdated([&](ServiceId, ServiceStatus i_status) { status.Add(i_status); });
        catalog->Start(ServiceId::BuildProcessors);
        ASSERT_TRUE(status.WaitFor([](const auto& i_all) { return i_all.size() == 2; }));
        connection.disconnect();
    }

    Machine GetMachine(const std::string& i_id = TestId)
    {
        return catalog->GetMachine(boost::uuids::string_generator()(i_id));
    }

    CommandDescription Find(CommandType i_type)
    {
        for (const auto& command : GetMachine().GetCommands().get()) {
            if (command.type == i_type)
                return command;
        }
        throw std::logic_error("the command is not offered");
    }

    CommandParameters MakeParameters(const TavAM::Platform& i_platform, CommandType i_type = CommandType::Build)
    {
        std::filesystem::remove_all(dir / "output");
        std::filesystem::create_directories(dir / "output");
        CommandParameters parameters;
        parameters.commandId = Find(i_type).id;
        parameters.jobName = "bracket";
        parameters.inputFile = dir / "input.TavAMX";
        parameters.outputDir = dir / "output";
        parameters.onProgress = [this](int i_percent, const std::string& i_stage) {
            progress.Add({i_percent, i_stage});
        };
        TavAM::AMXFileWriter().WriteFile(parameters.inputFile, i_platform);
        return parameters;
    }

    CommandResult Run(CommandType i_type, const TavAM::Platform& i_platform, const std::string& i_id = TestId)
    {
        const auto parameters = MakeParameters(i_platform, i_type);
        progress.Take();
        auto result = GetMachine(i_id).RunCommand(parameters).get();
        EXPECT_TRUE(std::filesystem::is_empty(dir / "temp"));
        EXPECT_EQ(result.dataFormat, Find(i_type).dataFormat);
        const auto steps = progress.Take();
        EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end(),
                                   [](const auto& i_a, const auto& i_b) { return i_a.first < i_b.first; }));
        EXPECT_EQ(steps.back().first, 100);
        return result;
    }

    /// The command fails and leaves nothing.
    Failure Fail(const CommandParameters& i_parameters)
    {
        const auto failure = GetFailure([&] { GetMachine().RunCommand(i_parameters).get(); });
        EXPECT_TRUE(std::filesystem::is_empty(dir / "temp"));
        EXPECT_TRUE(std::filesystem::is_empty(dir / "output"));
        const auto jobs = dir / "data" / "jobs";
        EXPECT_FALSE(std::filesystem::is_directory(jobs) && !std::filesystem::is_empty(jobs));
        return failure;
    }
    Failure Fail(CommandType i_type, const TavAM::Platform& i_platform)
    {
        return Fail(MakeParameters(i_platform, i_type));
    }

    TavAM::Platform ReadOutput() const { return ReadPlatform(dir / "output" / "platform.TavAMX"); }

    const ScopedTempDir folder;
    const std::filesystem::path dir = folder.GetAbsoluteDir();
    const std::filesystem::path profiles = dir / "configuration" / "profiles";
    QByteArray formerTemp;
    Journal<std::pair<int, std::string>> progress;
    std::unique_ptr<AbstractMachinesCatalog> catalog;
};

} // namespace MachineService::Testing
