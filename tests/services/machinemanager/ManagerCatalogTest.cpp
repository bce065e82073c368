#include "services/machinemanager/ManagerFixture.h"

#include <condition_variable>

namespace {

using namespace MachineService;
using namespace MachineService::MachineManager;
using namespace MachineService::MachineManager::Testing;
using namespace testing;

/// The manager's machines as a host gets them.
class ManagerCatalogTest : public Test
{
protected:
    void Start()
    {
        world.Start();
        catalog =
            world.manager->MakeCatalog([](const boost::uuids::uuid&, const Actor&) { return JobListAddress(); }, {});
        catalog->ConnectServiceStatusUpdated([this](ServiceId, ServiceStatus i_status) {
            const std::lock_guard lock(mutex);
            if (i_status == ServiceStatus::Running)
                atRunning = catalog->GetMachineIds().size();
            told.notify_all();
        });
        ASSERT_TRUE(catalog->Start(ServiceId::MachineManager));
    }
    std::optional<std::size_t> WaitForRunning(std::chrono::milliseconds i_longest)
    {
        std::unique_lock lock(mutex);
        told.wait_for(lock, i_longest, [this] { return atRunning.has_value(); });
        return atRunning;
    }

    std::mutex mutex; ///< guards atRunning
    std::condition_variable told;
    std::optional<std::size_t> atRunning;
    ManagedWorld world;
    std::unique_ptr<AbstractServiceCatalog> catalog;
};

TEST_F(ManagerCatalogTest, IsRunningWhenTheServicesHaveToldAllTheirMachines)
{
    Start();
    world.catalog.RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Starting);
    world.catalog.Put(1);
    EXPECT_EQ(WaitForRunning(std::chrono::milliseconds(100)), std::nullopt);
    world.catalog.Put(2);
    world.catalog.RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Running);
    EXPECT_EQ(WaitForRunning(std::chrono::seconds(5)), 2U);
}

TEST_F(ManagerCatalogTest, AServiceThatFailsToStartDoesNotHoldItBack)
{
    Start();
    world.catalog.RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Starting);
    world.catalog.RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Failed);
    EXPECT_EQ(WaitForRunning(std::chrono::seconds(5)), 0U);
}

TEST_F(ManagerCatalogTest, MachinesThatWereThereBeforeItAreAllOfThem)
{
    world.catalog.Set(1);
    Start();
    EXPECT_EQ(WaitForRunning(std::chrono::seconds(5)), 1U);
}

TEST_F(ManagerCatalogTest, APostedJobIsBuiltAsItsPartsWereToBe)
{
    world.AddMachine(1);
    std::atomic<bool> isOrderTold = false;
    world.behaviour->run = [&](const CommandParameters& i_parameters) {
        isOrderTold = i_parameters.parts.size() == 1 && i_parameters.parts.front().strategies.front().second == "fast";
        ManagedWorld::LeaveResult(i_parameters);
        return TestSupport::MakeReady(CommandResult());
    };
    Start();
    ASSERT_EQ(WaitForRunning(std::chrono::seconds(5)), 1U);
    const auto machine = catalog->GetMachines().front();
    CommandParameters parameters;
    parameters.commandId = machine.GetCommands().get().front().id;
    parameters.runId = TestSupport::MakeId(7);
    parameters.inputFile = world.WritePlatform();
    parameters.parts = {{"part", {{"part", "fast"}}, false}};
    machine.RunCommand(parameters).get();
    EXPECT_EQ(world.WaitFor(parameters.runId, JobPhase::Completed).phase, JobPhase::Completed);
    EXPECT_TRUE(isOrderTold);
}

TEST_F(ManagerCatalogTest, StopsWhileAServiceIsStillStarting)
{
    Start();
    world.catalog.RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Starting);
    const auto begin = std::chrono::steady_clock::now();
    catalog->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(WaitForRunning({}), std::nullopt);
}

} // namespace
