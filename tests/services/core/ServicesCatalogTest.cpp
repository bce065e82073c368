#include "services/ServiceFiles.h"

#include "client/interface/ICommunicationServiceAPI.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <atomic>
#include <thread>

using namespace MachineService;

namespace {

using namespace Testing;

constexpr auto Service = ServiceId::BuildProcessors;
const std::string IdA = "11111111-2222-3333-4444-55555555555a";
const std::string IdB = "11111111-2222-3333-4444-55555555555b";
const std::string IdC = "11111111-2222-3333-4444-55555555555c";

/// A catalog over a folder of profiles of its own; its news as texts.
class ServicesCatalogTest : public ::testing::Test
{
protected:
    ServicesCatalogTest() { MakeCatalog(); }

    void MakeCatalog()
    {
        const auto api = CreateCommunicationService();
        api->Initialize();
        catalog = api->CreateMachinesCatalog([this](ServiceId) {
            return std::make_unique<TestUtility>(folder.GetAbsoluteDir(), std::map<std::string, std::string>());
        });
        catalog->ConnectMachineAdded([this](const auto& i_id) { journal.Add("added " + to_string(i_id)); });
        catalog->ConnectMachineRemoved([this](const auto& i_id) { journal.Add("removed " + to_string(i_id)); });
        catalog->ConnectMachineUpdated([this](const auto& i_id, MachineChanges i_changes) {
            journal.Add("updated " + to_string(i_id) + ' ' + std::to_string(static_cast<int>(i_changes)));
        });
        catalog->ConnectServiceStatusUpdated([this](ServiceId, ServiceStatus i_status) {
            statusThread = std::this_thread::get_id();
            journal.Add("status " + std::to_string(static_cast<int>(i_status)));
        });
    }

    void Start()
    {
        ASSERT_TRUE(catalog->Start(Service));
        ASSERT_TRUE(Expect("status 2"));
        journal.Take();
    }
    /// Within the second that the service promises, and a little for a busy machine.
    bool Expect(const std::string& i_news)
    {
        return journal.WaitFor(
            [&](const auto& i_all) { return std::find(i_all.begin(), i_all.end(), i_news) != i_all.end(); },
            std::chrono::milliseconds(1500));
    }
    std::filesystem::path ProfilePath(const std::string& i_name) const
    {
        return folder.GetAbsoluteDir() / "configuration" / "profiles" / i_name;
    }
    Machine GetMachine(const std::string& i_id) const
    {
        return catalog->GetMachine(boost::uuids::string_generator()(i_id));
    }

    ScopedTempDir folder;
    Journal<std::string> journal;
    std::atomic<std::thread::id> statusThread;
    std::unique_ptr<AbstractMachinesCatalog> catalog;
};

TEST_F(ServicesCatalogTest, MachinesAppearWithStartAndNewsComeFromTheServicesThread)
{
    EXPECT_TRUE(catalog->GetMachineIds().empty());
    EXPECT_FALSE(catalog->Refresh(Service));
    EXPECT_FALSE(catalog->Start(static_cast<ServiceId>(77)));
    ASSERT_TRUE(catalog->Start(Service));
    ASSERT_TRUE(catalog->Start(Service));
    ASSERT_TRUE(Expect("status 2"));
    const auto news = journal.Take();
    EXPECT_EQ(news.front(), "status 1");
    EXPECT_EQ(news.back(), "status 2");
    const auto ids = catalog->GetMachineIds();
    ASSERT_GE(ids.size(), 4U);
    ASSERT_EQ(news.size(), ids.size() + 2);
    for (std::size_t index = 0; index < ids.size(); ++index)
        EXPECT_EQ(news[index + 1], "added " + to_string(ids[index]));
    EXPECT_NE(statusThread.load(), std::this_thread::get_id());
    EXPECT_EQ(catalog->GetMachines().size(), ids.size());
    EXPECT_FALSE(catalog->TryGetMachine(Service, ids.front(), MachineRepresentation::Group));
    EXPECT_FALSE(catalog->TryGetMachine(ServiceId::MachineManager, ids.front(), MachineRepresentation::Machine));
    EXPECT_TRUE(catalog->TryGetMachine(Service, ids.front(), MachineRepresentation::Default));
    EXPECT_EQ(GetFailure([&] { GetMachine(IdA); }).code, ErrorCode::MachineNotFound);
    auto versions = catalog->GetVersionInformation();
    ASSERT_EQ(versions.wait_for(Patience), std::future_status::ready);
    const auto pairs = versions.get();
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].first, "Build Processor");
    EXPECT_FALSE(pairs[1].second.empty());
}

TEST_F(ServicesCatalogTest, FolderThatComesGoesAndIsEditedIsFollowedWithinASecond)
{
    Start();
    const auto profiles = ProfilePath("").parent_path();
    WriteFile(ProfilePath("a.json"), MakeProfile(IdA));
    ASSERT_TRUE(Expect("added " + IdA));
    const auto time = GetMachine(IdA).GetMachineData().configurationTime;
    ASSERT_TRUE(time);

    // As editors save: beside it, then renamed.
    WriteFile(ProfilePath(".a.json.tmp"), Replaced(MakeProfile(IdA), "Test printer", "Renamed"));
    std::filesystem::rename(ProfilePath(".a.json.tmp"), ProfilePath("a.json"));
    ASSERT_TRUE(Expect("updated " + IdA + " 9"));
    EXPECT_EQ(GetMachine(IdA).GetMachineData().name, "Renamed");
    WriteFile(ProfilePath("a.json"), Replaced(MakeProfile(IdA), "running", "paused"));
    ASSERT_TRUE(Expect("updated " + IdA + " 11"));

    // Damaged: the last good one stays, and the others live on.
    WriteFile(ProfilePath("a.json"), "{ damaged");
    WriteFile(ProfilePath("b.json"), MakeProfile(IdB));
    ASSERT_TRUE(Expect("added " + IdB));
    EXPECT_NO_THROW(GetMachine(IdA));
    // A second file of that id is left out, and takes its place when the first goes.
    WriteFile(ProfilePath("c.json"), Replaced(MakeProfile(IdB), "Test printer", "Second"));
    ASSERT_TRUE(catalog->Refresh(Service));
    std::filesystem::remove(ProfilePath("b.json"));
    ASSERT_TRUE(Expect("updated " + IdB + " 9"));
    EXPECT_EQ(GetMachine(IdB).GetMachineData().name, "Second");

    journal.Take();
    std::filesystem::rename(profiles, folder.GetAbsoluteDir() / "elsewhere");
    ASSERT_TRUE(Expect("removed " + IdA));
    ASSERT_TRUE(Expect("removed " + IdB));
    std::filesystem::remove_all(profiles.parent_path());
    WriteFile(ProfilePath("b.json"), MakeProfile(IdB));
    ASSERT_TRUE(Expect("added " + IdB));
    // Nothing but its time changes: nothing is told.
    journal.Take();
    std::filesystem::last_write_time(ProfilePath("b.json"), std::filesystem::file_time_type::clock::now());
    WriteFile(ProfilePath("b.json"), MakeProfile(IdB));
    WriteFile(ProfilePath("a.json"), MakeProfile(IdA));
    ASSERT_TRUE(Expect("added " + IdA));
    EXPECT_EQ(journal.Take(), std::vector{"added " + IdA});
}

TEST_F(ServicesCatalogTest, WhatChangesBehindLinksIsFollowed)
{
    namespace fs = std::filesystem;
    const fs::path elsewhere = folder.GetAbsoluteDir() / "elsewhere";
    const auto write = [](const fs::path& i_path, const std::string& i_name) {
        WriteFile(i_path, Replaced(MakeProfile(IdA), "Test printer", i_name));
    };
    const auto expect = [&](const char* ip_what, const std::string& i_name) {
        EXPECT_TRUE(Expect("updated " + IdA + " 9")) << ip_what;
        EXPECT_EQ(GetMachine(IdA).GetMachineData().name, i_name) << ip_what;
        journal.Take();
    };
    // profiles/a.json -> elsewhere/current/a.json, current -> first: as administrators roll out configurations.
    write(elsewhere / "first" / "a.json", "One");
    fs::create_directory_symlink("first", elsewhere / "current");
    WriteFile(ProfilePath("b.json"), MakeProfile(IdB));
    fs::create_symlink(elsewhere / "current" / "a.json", ProfilePath("a.json"));
    Start();
    EXPECT_EQ(GetMachine(IdA).GetMachineData().name, "One");

    write(elsewhere / "first" / "a.json", "Two");
    expect("written in place", "Two");
    write(elsewhere / "first" / "new", "Three");
    fs::rename(elsewhere / "first" / "new", elsewhere / "first" / "a.json");
    expect("replaced", "Three");
    write(elsewhere / "second" / "a.json", "Four");
    fs::create_directory_symlink("second", elsewhere / "next");
    fs::rename(elsewhere / "next", elsewhere / "current");
    expect("a link on the way leads elsewhere", "Four");
    write(elsewhere / "second" / "a.json", "Five");
    expect("written there", "Five");
    fs::remove(elsewhere / "second" / "a.json");
    write(elsewhere / "second" / "a.json", "Six");
    expect("gone and come back", "Six");

    // The folder itself by a link.
    const fs::path profiles = ProfilePath("").parent_path();
    fs::rename(profiles, elsewhere / "profiles");
    fs::create_directory_symlink(elsewhere / "profiles", profiles);
    fs::create_directory(elsewhere / "others");
    write(elsewhere / "others" / "a.json", "Seven");
    WriteFile(ProfilePath("c.json"), MakeProfile(IdC));
    ASSERT_TRUE(Expect("added " + IdC)); // has seen the link
    journal.Take();
    fs::create_directory_symlink(elsewhere / "others", elsewhere / "next");
    fs::rename(elsewhere / "next", profiles);
    EXPECT_TRUE(Expect("removed " + IdB));
    expect("the folder leads elsewhere", "Seven");
}

TEST_F(ServicesCatalogTest, MayBeDestroyedInASlotOnItsThread)
{
    WriteFile(ProfilePath("a.json"), MakeProfile(IdA));
    for (const bool isByStatus : {false, true}) {
        const auto destroy = [&](const auto&...) {
            journal.Take();
            catalog.reset();
            journal.Add("destroyed");
        };
        if (isByStatus)
            catalog->ConnectServiceStatusUpdated(destroy);
        else
            catalog->ConnectMachineAdded(destroy);
        std::weak_ptr<int> token;
        {
            // Goes with the slot, which goes when the thread has left the signal.
            const auto held = std::make_shared<int>();
            token = held;
            catalog->ConnectMachineRemoved([held](const auto&) {});
        }
        catalog->Start(Service);
        ASSERT_TRUE(journal.WaitFor([](const auto& i_all) { return !i_all.empty() && i_all.back() == "destroyed"; }));
        const auto end = std::chrono::steady_clock::now() + Patience;
        while (!token.expired() && std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        EXPECT_EQ(journal.Take(), std::vector<std::string>{"destroyed"});
        MakeCatalog();
    }
}

TEST_F(ServicesCatalogTest, AMachineTellsItsQueueAndWhyItRefuses)
{
    struct Row
    {
        const char* state;
        ErrorCode code;
        MachineState told;
        const char* reason;
    };
    const Row rows[] = {{"paused", ErrorCode::QueuePaused, MachineState::Paused, "The printer's queue is paused."},
                        {"error", ErrorCode::QueueError, MachineState::Failed, "The printer's queue has an error."},
                        {"offline", ErrorCode::QueueOffline, MachineState::Offline, "The printer is offline."}};
    WriteFile(ProfilePath("a.json"), MakeProfile(IdA));
    Start();
    const Machine machine = GetMachine(IdA);
    CommandParameters parameters;
    parameters.commandId = machine.GetCommands().get().at(0).id;
    EXPECT_EQ(machine.GetMachineData().state, MachineState::Ready);
    EXPECT_EQ(machine.GetMachineData().technology, MachineTechnology::MaterialExtrusion);
    EXPECT_EQ(machine.GetMachineData().picture.GetBytes().at(1), 'P'); // a PNG
    for (const auto& [state, code, told, reason] : rows) {
        WriteFile(ProfilePath("a.json"), Replaced(MakeProfile(IdA), "running", state));
        ASSERT_TRUE(Expect("updated " + IdA + " 3"));
        journal.Take();
        EXPECT_FALSE(machine.CanRunCommand(parameters.commandId).get());
        EXPECT_EQ(machine.TryExplain()->ExplainCanRunCommand(parameters.commandId).get(),
                  (CanRunAnswer{false, reason}));
        const MachineData data = GetMachine(IdA).GetMachineData();
        EXPECT_EQ(data.state, told);
        EXPECT_EQ(data.stateReasons, std::vector<std::string>{reason});
        EXPECT_LT(std::chrono::system_clock::now() - *data.stateTime, std::chrono::minutes(1));
        EXPECT_EQ(GetFailure([&] { machine.RunCommand(parameters).get(); }).code, code);
    }
}

TEST_F(ServicesCatalogTest, AMachineAnswersAsLongAsItsCatalogLives)
{
    WriteFile(ProfilePath("a.json"), MakeProfile(IdA));
    Start();
    const Machine machine = GetMachine(IdA);
    const auto commands = machine.GetCommands().get();
    ASSERT_EQ(commands.size(), 8U);
    EXPECT_EQ(commands[0].type, CommandType::Build);
    EXPECT_EQ(commands[0].dataFormat, DataFormat::Platform);
    EXPECT_TRUE(machine.CanRunCommand(commands[0].id).get());
    EXPECT_FALSE(machine.CanRunCommand({}).get());
    EXPECT_EQ(machine.GetProfileAssignments().get().at(0).name, "Solid");
    CommandParameters parameters;
    EXPECT_EQ(GetFailure([&] { machine.RunCommand(parameters).get(); }).code, ErrorCode::CommandNotFound);
    // Held until the catalog has joined the job's thread: libstdc++ counts a failure's holders out of the thread
    // sanitizer's sight.
    const auto report = machine.FillReportProperties(parameters).share();
    EXPECT_EQ(GetFailure([&] { report.get(); }).code, ErrorCode::FileError);
    EXPECT_EQ(GetFailure([&] { machine.Preprocessing(parameters).get(); }).text,
              "The printer 'Test printer' does not offer preprocessing.");
    parameters.commandId = commands[0].id;
    std::filesystem::remove(ProfilePath("a.json"));
    ASSERT_TRUE(Expect("removed " + IdA));
    EXPECT_EQ(GetFailure([&] { machine.RunCommand(parameters).get(); }).code, ErrorCode::MachineNotFound);
    auto versions = catalog->GetVersionInformation();
    catalog.reset();
    EXPECT_EQ(GetFailure([&] { machine.RunCommand(parameters).get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { machine.GetCommands().get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { machine.GetPlatformInformation().get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { machine.GetEmptyPlatform({}).get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(versions.wait_for(std::chrono::seconds(0)), std::future_status::ready);
}

TEST_F(ServicesCatalogTest, GoesDownWhileItsThreadAsksItAndOthersAsk)
{
    std::atomic<int> asked = 0;
    const auto ask = [&, raw = catalog.get()](const boost::uuids::uuid& i_id) {
        if (raw->HasMachine(i_id))
            asked += GetFailure([&] { raw->GetMachine(i_id); }).code == ErrorCode::None;
    };
    catalog->ConnectMachineAdded(ask);
    catalog->ConnectMachineUpdated([&](const auto& i_id, MachineChanges) { ask(i_id); });
    Start();
    EXPECT_GT(asked.load(), 0);
    for (int number = 0; number < 20; ++number) {
        WriteFile(ProfilePath("a.json"), Replaced(MakeProfile(IdA), "Test", "Test " + std::to_string(number)));
        catalog->Refresh(Service);
        catalog->GetMachines();
    }
    const auto begin = std::chrono::steady_clock::now();
    catalog.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

} // namespace
