#include "client/CommunicationClient.h"
#include "client/UuidConversions.h"
#include "client/events/UIJobEvent.h"
#include "client/interface/CommunicationException.h"
#include "support/FakeMachineService.h"
#include "support/HostFixture.h"

#include <QCoreApplication>

#include <thread>
#include <utility>

using namespace MachineService;

namespace {

using namespace TestSupport;

/// Runs a function at the first notification.
class FirstNotification final : public VexlorCore::MListener
{
public:
    std::function<void()> onNotification;

private:
    void ExecuteSelf(const VexlorCore::INotification&) override
    {
        if (const auto function = std::exchange(onNotification, nullptr))
            function();
    }
};

/// A client of two machines, one of them attached to two scenes, that is about to be destroyed in something it calls.
struct Setting
{
    Setting()
    {
        for (const std::uint8_t number : {1, 2})
            catalog->Put(number);
        for (auto* const scene : {host.scene, host.GetDatabase().CreateDataSet()})
            client->HandleMachineChanged(scene, ToQUuid(MakeId(1)));
        catalog->Set(3);
        host.GetDatabase().AddListener(&listener);
        listener.StartListening();
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    ~Setting() { Destroy(); }

    void Destroy() { delete std::exchange(client, nullptr); }
    std::function<void()> MakeDestroy()
    {
        return [this] {
            Destroy();
        };
    }
    /// In a direct connection.
    template <class Signal>
    void DestroyIn(Signal i_signal)
    {
        QObject::connect(client, i_signal, [this] { Destroy(); });
    }
    void DestroyInService()
    {
        catalog->onGetMachine = [this](const auto&) {
            Destroy();
            throw CommunicationException(ErrorCode::MachineNotFound); // the catalog itself is gone
        };
    }

    Host host;
    FakeMachinesCatalog* catalog = &SetNextCatalog();
    std::function<void()> onRule;
    boost::uuids::uuid rejected = {};
    CommunicationClient* client = new CommunicationClient(
        host.GetProviderGetter(), [](ServiceId) { return nullptr; },
        [this](const MachineData& i_data) {
            if (onRule)
                onRule();
            return i_data.id != rejected;
        },
        nullptr);
    FirstNotification listener;
    std::thread service;
};

TEST(ClientDestructionTest, TheClientMayBeDestroyedInWhateverItCalls)
{
    struct Row
    {
        const char* what;
        std::function<void(Setting&)> act;
    };
    const Row rows[] = {
        {"added, by its own invalidation",
         [](Setting& io_setting) {
             io_setting.DestroyIn(&CommunicationClient::MachineAdded);
             io_setting.client->InvalidateProxyMachineCatalog();
         }},
        {"added, by its own invalidation, while a service waits to tell more of that machine",
         [](Setting& io_setting) {
             QObject::connect(io_setting.client, &CommunicationClient::MachineAdded, [&io_setting] {
                 io_setting.service = std::thread([catalog = io_setting.catalog] {
                     catalog->RaiseUpdated(MakeId(3), MachineChanges::StateChanged);
                 });
                 // As a service's catalog does: its threads end before anything else of it goes.
                 io_setting.catalog->onDestroyed = [&io_setting] {
                     io_setting.service.join();
                 };
                 io_setting.Destroy();
             });
             io_setting.client->InvalidateProxyMachineCatalog();
         }},
        {"removed, by its own invalidation",
         [](Setting& io_setting) {
             io_setting.rejected = MakeId(1);
             io_setting.DestroyIn(&CommunicationClient::MachineRemoved);
             io_setting.client->InvalidateProxyMachineCatalog();
         }},
        {"the rule, in its own invalidation",
         [](Setting& io_setting) {
             io_setting.onRule = io_setting.MakeDestroy();
             io_setting.client->InvalidateProxyMachineCatalog();
         }},
        {"the service that is asked for a machine",
         [](Setting& io_setting) {
             io_setting.DestroyInService();
             EXPECT_FALSE(io_setting.client->TryGetPrinterById(ToQUuid(MakeId(2))));
         }},
        {"the service that is asked for a machine of a scene",
         [](Setting& io_setting) {
             io_setting.DestroyInService();
             auto* const scene = io_setting.host.scene;
             EXPECT_THROW(io_setting.client->HandleMachineChanged(scene, ToQUuid(MakeId(2))), CommunicationException);
         }},
        {"printers changed",
         [](Setting& io_setting) {
             io_setting.DestroyIn(&CommunicationClient::MachinesChanged);
             io_setting.client->HandleMachineChanged(io_setting.host.scene, QUuid());
         }},
        {"a listener of the host, about the machine of a scene",
         [](Setting& io_setting) {
             io_setting.listener.onNotification = io_setting.MakeDestroy();
             io_setting.client->HandleMachineChangedForceDetach(io_setting.host.scene, QUuid());
         }},
        {"a listener of the host, about a machine that went",
         [](Setting& io_setting) {
             io_setting.catalog->Erase(MakeId(1));
             io_setting.listener.onNotification = io_setting.MakeDestroy();
             io_setting.client->MachineModified(ToQUuid(MakeId(1)), MachineChanges::StateChanged);
         }},
        {"the view",
         [](Setting& io_setting) {
             io_setting.host.application.SetInvalidate3dHandler(io_setting.MakeDestroy());
             io_setting.client->MachineModified(ToQUuid(MakeId(1)), MachineChanges::StateChanged);
         }},
        {"modified",
         [](Setting& io_setting) {
             io_setting.DestroyIn(&CommunicationClient::MachineModified);
             io_setting.client->MachineModified(ToQUuid(MakeId(1)), MachineChanges::StateChanged);
         }},
        {"activated",
         [](Setting& io_setting) {
             io_setting.DestroyIn(&CommunicationClient::Activated);
             io_setting.client->HandleModeChanged(ProgramModePlatform);
         }},
        {"deactivated",
         [](Setting& io_setting) {
             io_setting.DestroyIn(&CommunicationClient::Deactivated);
             io_setting.client->HandleModeChanged(ProgramModePlatform);
             io_setting.client->HandleModeChanged(ProgramModeNone);
         }},
        {"printers changed, by a scene that gets active",
         [](Setting& io_setting) {
             io_setting.client->HandleModeChanged(ProgramModePlatform);
             io_setting.DestroyIn(&CommunicationClient::MachinesChanged);
             io_setting.host.GetDatabase().SetActiveDataSet(nullptr);
         }},
        {"a job",
         [](Setting& io_setting) {
             UIJobEvent job(io_setting.MakeDestroy());
             QCoreApplication::sendEvent(io_setting.client, &job);
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Setting setting;
        row.act(setting);
        EXPECT_EQ(setting.client, nullptr);
        QCoreApplication::processEvents();
    }
}

} // namespace
