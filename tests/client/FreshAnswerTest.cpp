#include "client/CommunicationClient.h"
#include "client/UuidConversions.h"
#include "commands/PrinterCommandManager.h"
#include "support/FakeMachineService.h"
#include "support/HostFixture.h"

#include "vexlorui/ActiveSceneContext.h"

#include <QEventLoop>
#include <QTimer>

#include <atomic>

using namespace MachineService;

namespace {

using namespace TestSupport;
using Vexlor::UICommands::UiCommand;

/// The way of an answer: service, cache, client, host, button. Nobody asks the button.
TEST(FreshAnswerTest, ReachesTheButtonByItself)
{
    Host host;
    FakeMachinesCatalog& catalog = SetNextCatalog();
    CommunicationClient client(
        host.GetProviderGetter(), [](ServiceId) { return nullptr; }, [](const MachineData&) { return true; }, nullptr);
    std::atomic<bool> canRun = true;
    FakeBehaviour behaviour;
    behaviour.canRun = [&](const boost::uuids::uuid&) {
        return MakeReady<bool>(canRun);
    };
    for (std::uint8_t number = 10; number < 30; ++number) {
        CommandDescription description;
        description.type = CommandType::Additional;
        description.id = MakeId(number);
        description.name = "Command";
        behaviour.commands.push_back(description);
    }
    catalog.Set(MakeFakeMachine(MakeMachineData(1), behaviour));
    catalog.RaiseAdded(MakeId(1));
    client.HandleMachineChanged(host.scene, ToQUuid(MakeId(1)));

    PrinterCommandManager manager([&] { return host.scene; },
                                  [&](VexlorCore::DataSet* ip_scene) { return client.TryGetPrinter(ip_scene); },
                                  host.GetProviderGetter(), [] { return QString(); });
    const auto update = [&] {
        for (UiCommand* command : manager.GetAllCommands())
            command->Update(Vexlor::UICommands::ActiveSceneContext());
    };
    host.provider.SetUpdateCommandsHandler(update);
    manager.Activate();
    ASSERT_EQ(manager.GetAllCommands().size(), 20);

    QEventLoop loop;
    bool expected = true;
    const auto quitWhenAllAre = [&] {
        for (const UiCommand* command : manager.GetAllCommands()) {
            if (command->IsEnabled() != expected)
                return;
        }
        loop.exit(1);
    };
    for (UiCommand* command : manager.GetAllCommands())
        QObject::connect(command, &UiCommand::Changed, &loop, quitWhenAllAre);
    QTimer::singleShot(20'000, &loop, &QEventLoop::quit);

    update(); // once, as a host does when commands appear
    for (const UiCommand* command : manager.GetAllCommands())
        EXPECT_FALSE(command->IsEnabled()) << "nobody has answered yet";
    EXPECT_EQ(loop.exec(), 1) << "the buttons were not enabled";

    canRun = false;
    expected = false;
    update();
    EXPECT_EQ(loop.exec(), 1) << "the buttons were not disabled";
}

} // namespace
