#include "client/CommunicationClient.h"

#include "catalog/PrinterAttachment.h"
#include "client/events/UIJobEvent.h"
#include "support/Failures.h"
#include "support/FakeMachineService.h"
#include "support/HostFixture.h"

#include "tavam/PropertyNames.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSignalSpy>

#include <atomic>
#include <thread>

using namespace MachineService;

namespace {

using namespace TestSupport;
using ::testing::ElementsAre;

QUuid MakeQId(std::uint8_t i_number)
{
    return QUuid(0x0f1e2d3c, 0x4b5a, 0x6978, 0x87, 0x96, 0xa5, 0xb4, 0xc3, 0xd2, 0xe1, i_number);
}

/// What scenes were told, with something to do about it.
class Notifications final : public VexlorCore::MListener
{
public:
    std::vector<std::string> log;
    std::function<void()> onDetached;
    std::function<void()> onRevision;

private:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override
    {
        if (dynamic_cast<const VexlorCore::BPQueueChanged*>(&i_notification))
            log.push_back("queue");
        if (dynamic_cast<const VexlorCore::BPPlatformRevisionChanged*>(&i_notification)) {
            log.push_back("revision");
            if (onRevision)
                onRevision();
        }
        if (dynamic_cast<const VexlorCore::BPPlatformDetached*>(&i_notification)) {
            log.push_back("detached");
            if (onDetached)
                onDetached();
        }
    }
};

class CommunicationClientTest : public HostFixture
{
protected:
    CommunicationClientTest()
    {
        _catalog = &SetNextCatalog();
        _client = std::make_unique<CommunicationClient>(
            _host.GetProviderGetter(), [](ServiceId) { return nullptr; },
            [](const MachineData& i_data) { return i_data.id != MakeId(9); }, nullptr);
        _host.GetDatabase().AddListener(&_notifications);
        _notifications.StartListening();
        _host.application.SetInvalidate3dHandler([this] { ++_redraws; });
    }
    std::string _GetMessageOfAttaching(const QUuid& i_id)
    {
        return GetFailure([&] { _client->HandleMachineChanged(_host.scene, i_id); }).text;
    }
    void _SetMachineAt(std::uint8_t i_number, int i_seconds)
    {
        MachineData data = MakeMachineData(i_number);
        data.configurationTime = ConfigurationTime(std::chrono::seconds(i_seconds));
        _catalog->Set(MakeFakeMachine(data));
    }

    FakeMachinesCatalog* _catalog = nullptr;
    std::unique_ptr<CommunicationClient> _client;
    Notifications _notifications;
    int _redraws = 0;
};

TEST_F(CommunicationClientTest, TheMetaObjectHasItsMethodsInThePublishedOrder)
{
    const char* const rows[] = {
        "sp MachinesChanged()",
        "sp MachineModified(QUuid,MachineService::MachineChanges) i_modified_machine i_changes",
        "sp MachineAdded(QUuid) i_modified_machine",
        "sp MachineRemoved(QUuid) i_modified_machine",
        "sp ServiceStatusChanged(MachineService::ServiceId,MachineService::ServiceStatus) i_service_id i_status",
        "sp Activated()",
        "sp Deactivated()",
        "tp HandleModeChanged(EProgramModeType) i_mode",
        "tp HandleMachineChanged(VexlorCore::DataSet*,QUuid) ip_data_set i_machine_id",
        "tp HandleMachineUpdated(VexlorCore::DataSet*) ip_data_set",
        "tp InvalidateProxyMachineCatalog()",
        "t- _HandleMachineIdChanged(VexlorCore::DataSet*,QUuid,bool) ip_data_set i_machine_id i_force_detach",
        "t- _HandleSceneActivated(VexlorCore::DataSet*) ip_data_set",
        "t- _HandleMachineCopied(VexlorCore::DataSet*,VexlorCore::DataSet*) ip_original_data_set ip_copied_data_set",
        "t- _HandleMachineModified(QUuid,MachineChanges) i_modified_machine i_changes",
    };
    const QMetaObject& meta = CommunicationClient::staticMetaObject;
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), static_cast<int>(std::size(rows)));
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        const QMetaMethod method = meta.method(meta.methodOffset() + static_cast<int>(row));
        QByteArray text = method.methodType() == QMetaMethod::Signal ? "s" : "t";
        text += method.access() == QMetaMethod::Public ? "p " : "- ";
        text += method.methodSignature();
        for (const QByteArray& name : method.parameterNames())
            text += " " + name;
        EXPECT_STREQ(text.constData(), rows[row]);
    }
    const int changes = qMetaTypeId<MachineChanges>();
    EXPECT_EQ(QMetaType::type("MachineService::MachineChanges"), changes);
    EXPECT_EQ(QMetaType::type("MachineService::MachineStatusChange"), changes);
    for (const int type : {changes, qMetaTypeId<ServiceId>(), qMetaTypeId<ServiceStatus>()}) {
        EXPECT_EQ(QMetaType::sizeOf(type), 4);
        EXPECT_TRUE(QMetaType::typeFlags(type) & QMetaType::MovableType);
        EXPECT_TRUE(QMetaType::typeFlags(type) & QMetaType::IsEnumeration);
    }
    EXPECT_THAT(GetServiceCalls(), ElementsAre("initialize", "catalog", "released"));
}

TEST_F(CommunicationClientTest, NewsOfFourThreadsArriveOnTheUiThreadExactlyOnce)
{
    for (const std::uint8_t number : {1, 2, 3, 4, 9})
        _catalog->Put(number);
    int arrived = 0;
    QObject::connect(_client.get(), &CommunicationClient::MachineModified, _client.get(),
                     [&, ui = std::this_thread::get_id()](const QUuid&, MachineChanges i_changes) {
                         EXPECT_EQ(std::this_thread::get_id(), ui);
                         EXPECT_EQ(i_changes, MachineChanges::StateChanged);
                         ++arrived;
                     });
    std::vector<std::thread> services;
    for (const std::uint8_t number : {1, 2, 3, 9}) // the rule rejects the last one
        services.emplace_back([this, number] {
            for (int news = 0; news < 200; ++news)
                _catalog->RaiseUpdated(MakeId(number), MachineChanges::StateChanged);
        });
    for (std::thread& service : services)
        service.join();
    EXPECT_EQ(arrived, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(arrived, 600);
    EXPECT_EQ(_redraws, 600);
    EXPECT_EQ(_client->GetMachines().size(), 4U);
    EXPECT_FALSE(_client->TryGetPrinterById(MakeQId(9)));
    EXPECT_TRUE(_client->TryGetPrinterByIdFromService(ServiceId::BuildProcessors, MakeQId(9), {}));
}

TEST_F(CommunicationClientTest, GoesWhileServicesAndCachesCallIt)
{
    _catalog->Put(1);
    std::atomic<bool> stop = false;
    std::vector<std::thread> services;
    for (int number = 0; number < 3; ++number)
        services.emplace_back([&, catalog = _catalog] {
            while (!stop) {
                catalog->RaiseUpdated(MakeId(1), MachineChanges::StateChanged);
                catalog->RaiseStatus(ServiceId::BuildProcessors, ServiceStatus::Running);
            }
        });
    // As a service's catalog does: its threads end before anything else of it goes.
    _catalog->onDestroyed = [&] {
        std::this_thread::yield();
        stop = true;
        for (std::thread& service : services)
            service.join();
    };
    FakeBehaviour behaviour;
    std::atomic<int> asked = 0;
    behaviour.canRun = [&](const auto&) {
        return MakeReady(++asked % 2 == 1);
    };
    _catalog->Set(MakeFakeMachine(MakeMachineData(1), behaviour));
    const auto machine = _client->TryGetPrinterById(MakeQId(1));
    machine->CanRunCommand(MakeId(5)).get();
    _client.reset();
    machine->CanRunCommand(MakeId(5)).get(); // outlives the client
    QCoreApplication::processEvents();
    EXPECT_TRUE(stop);
}

TEST_F(CommunicationClientTest, JobsRunAndNeverLeaveTheEventLoop)
{
    int runs = 0;
    QCoreApplication::postEvent(_client.get(), new UIJobEvent([&] { ++runs; }));
    QCoreApplication::postEvent(_client.get(), new UIJobEvent([] { throw std::runtime_error("job"); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(runs, 1);
    UIJobEvent empty({});
    empty.ignore();
    QCoreApplication::sendEvent(_client.get(), &empty);
    EXPECT_TRUE(empty.isAccepted());
    QCoreApplication::postEvent(_client.get(), new UIJobEvent([&] { _client.reset(); }));
    QCoreApplication::processEvents();
    EXPECT_FALSE(_client);
}

TEST_F(CommunicationClientTest, ListensOnlyInPlatformMode)
{
    QSignalSpy activated(_client.get(), &CommunicationClient::Activated);
    QSignalSpy deactivated(_client.get(), &CommunicationClient::Deactivated);
    QSignalSpy changed(_client.get(), &CommunicationClient::MachinesChanged);
    _host.GetDatabase().SetActiveDataSet(nullptr);
    EXPECT_EQ(changed.count(), 0);
    _client->HandleModeChanged(ProgramModePlatform);
    _client->HandleModeChanged(ProgramModePlatform);
    _host.GetDatabase().SetActiveDataSet(_host.scene);
    _host.application.GetOperationManager()->Execute(L"a", 4096, [] {});
    _host.application.GetOperationManager()->Execute(L"b", 1, [] {});
    EXPECT_EQ(changed.count(), 2);
    _client->HandleModeChanged(ProgramModeSlices);
    _client->HandleModeChanged(ProgramModeNone);
    _host.GetDatabase().SetActiveDataSet(nullptr);
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(activated.count(), 1);
    EXPECT_EQ(deactivated.count(), 1);
}

TEST_F(CommunicationClientTest, TheHostAttachesAndDetachesMachines)
{
    QSignalSpy changed(_client.get(), &CommunicationClient::MachinesChanged);
    _catalog->Put(1);
    EXPECT_EQ(_GetMessageOfAttaching(MakeQId(2)),
              "Machine cannot be found. Please check the machines added to the Build Processor Manager.");
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(_GetMessageOfAttaching(MakeQId(1)), "");
    EXPECT_TRUE(Utilities::GetPrinter(_host.scene));
    _client->HandleModeChanged(ProgramModePlatform);
    auto* const copy = _host.GetDatabase().CopyDataSet(_host.scene);
    EXPECT_TRUE(Utilities::GetPrinter(copy));

    _client->HandleMachineChanged(_host.scene, QUuid());
    EXPECT_FALSE(Utilities::GetPrinter(_host.scene));
    EXPECT_TRUE(_client->TryGetPrinter(_host.scene)); // the scene still names it
    _client->HandleMachineChangedForceDetach(_host.scene, QUuid());
    EXPECT_FALSE(_client->TryGetPrinter(_host.scene));
    EXPECT_THAT(_notifications.log, ElementsAre("queue", "queue", "queue"));
    EXPECT_EQ(changed.count(), 3);
}

TEST_F(CommunicationClientTest, WhatASceneStoredDamagedIsToldAndGoesWithDetaching)
{
    using namespace TavAM::PropertyNames::Print3D;
    _SetMachineAt(1, 1000);
    _catalog->RaiseAdded(MakeId(1));
    auto& properties = _host.scene->GetAMObject().GetAMXProperties(false);
    const std::wstring named = L"0f1e2d3c-4b5a-6978-8796-a5b4c3d2e101";
    const std::vector<std::pair<const wchar_t*, std::wstring>> rows[] = {
        {{SelectedQueueID, L"printer of the office"}},
        {{SelectedQueueID, L""}},
        {{SelectedQueueID, named}, {OldSelectedQueueID, named + L"0"}},
        {{SelectedQueueID, named}, {MachineInformationTimestamp, L"noon"}},
    };
    for (const auto& row : rows) {
        for (const auto& [name, text] : row)
            properties.SetText(name, text);
        const auto before = properties.GetAll();
        const auto failure = GetFailure([&] { _client->HandleMachineChanged(_host.scene, MakeQId(1)); });
        EXPECT_EQ(failure, (Failure{ErrorCode::FileError,
                                    "What the scene stored of its machine cannot be read. Please detach the machine "
                                    "from the scene, then attach it again."}));
        EXPECT_FALSE(Utilities::GetPrinter(_host.scene));
        EXPECT_EQ(properties.GetAll(), before);

        _client->HandleMachineChangedForceDetach(_host.scene, QUuid());
        EXPECT_EQ(_GetMessageOfAttaching(MakeQId(1)), "");
        EXPECT_EQ(properties.GetText(SelectedQueueID), named);
        _client->HandleMachineChangedForceDetach(_host.scene, QUuid());
    }
}

TEST_F(CommunicationClientTest, AModifiedMachineReachesItsScenes)
{
    _SetMachineAt(1, 1000);
    _catalog->RaiseAdded(MakeId(1));
    _client->HandleMachineChanged(_host.scene, MakeQId(1));
    _notifications.log.clear();
    _SetMachineAt(1, 2000);
    _catalog->RaiseUpdated(MakeId(1), MachineChanges::StateChanged);
    EXPECT_THAT(_notifications.log, ElementsAre());
    _catalog->RaiseUpdated(MakeId(1), MachineChanges::ConfigurationChanged | MachineChanges::StateChanged);
    EXPECT_THAT(_notifications.log, ElementsAre("revision"));

    // A time that cannot be read counts as lost; the machine is free for the next news afterwards.
    auto& properties = _host.scene->GetAMObject().GetAMXProperties(false);
    properties.SetText(TavAM::PropertyNames::Print3D::MachineInformationTimestamp, L"noon");
    for (int news = 0; news < 2; ++news)
        _catalog->RaiseUpdated(MakeId(1), MachineChanges::ConfigurationChanged);
    EXPECT_THAT(_notifications.log, ElementsAre("revision", "detached", "detached"));
    EXPECT_TRUE(Utilities::GetPrinter(_host.scene));
    EXPECT_EQ(_redraws, 4);
}

enum class Deed
{
    RaiseOnceMore,
    DeliverAgain,
    CloseScenes,
    CloseDatabase
};

class ReentranceTest : public CommunicationClientTest, public ::testing::WithParamInterface<Deed>
{};

TEST_P(ReentranceTest, AListenerMayDoAnythingWhileScenesAreVisited)
{
    _catalog->Put(1);
    auto& database = _host.GetDatabase();
    for (auto* const scene : {_host.scene, database.CreateDataSet(), database.CreateDataSet()})
        _client->HandleMachineChanged(scene, MakeQId(1));
    _notifications.log.clear();
    _catalog->Erase(MakeId(1)); // gone without a word: scenes learn it with the next news
    _notifications.onDetached = [&] {
        switch (GetParam()) {
        case Deed::RaiseOnceMore:
            if (_notifications.log.size() == 1)
                _catalog->RaiseUpdated(MakeId(1), MachineChanges::StateChanged);
            break;
        case Deed::DeliverAgain: // as a nested event loop does
            Q_EMIT _client->MachineModified(MakeQId(1), MachineChanges::StateChanged);
            break;
        case Deed::CloseScenes:
            for (auto* const scene : database.GetDataSets())
                database.CloseDataSet(scene);
            break;
        case Deed::CloseDatabase:
            _host.application.CloseDatabase();
            break;
        }
    };
    _catalog->RaiseUpdated(MakeId(1), MachineChanges::StateChanged);
    // What is raised meanwhile comes next; what is delivered while its machine is being handled is dropped.
    const bool isRaisedAgain = GetParam() == Deed::RaiseOnceMore;
    const std::size_t toldOnce = GetParam() == Deed::DeliverAgain ? 3 : 1;
    EXPECT_EQ(_notifications.log.size(), isRaisedAgain ? 6 : toldOnce);
    EXPECT_EQ(_redraws, isRaisedAgain ? 2 : 1);
}

TEST_F(CommunicationClientTest, AListenerMayCloseTheSceneOrTheClientThatIsAttachedAgain)
{
    for (const bool takesClient : {false, true}) {
        _SetMachineAt(1, 1000);
        _catalog->RaiseAdded(MakeId(1));
        auto* const scene = _host.GetDatabase().CreateDataSet();
        _client->HandleMachineChanged(scene, MakeQId(1));
        _SetMachineAt(1, 2000);
        _notifications.log.clear();
        _notifications.onRevision = [&] {
            _host.GetDatabase().CloseDataSet(scene);
            if (takesClient)
                _client.reset();
        };
        _client->HandleMachineChanged(scene, MakeQId(1));
        EXPECT_THAT(_notifications.log, ElementsAre("revision"));
    }
}

INSTANTIATE_TEST_SUITE_P(Deeds, ReentranceTest,
                         ::testing::Values(Deed::RaiseOnceMore, Deed::DeliverAgain, Deed::CloseScenes,
                                           Deed::CloseDatabase));

} // namespace
