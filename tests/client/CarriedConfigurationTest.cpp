#include "client/CommunicationClient.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "support/FakeMachineService.h"
#include "support/HostFixture.h"
#include "tavam/AMXFileReader.h"
#include "tavam/MachineParameters.h"
#include "vexlorcore/SceneMachineData.h"

#include <gmock/gmock.h>

#include <QSignalSpy>

#include <limits>
#include <optional>

using namespace MachineService;

namespace {

using namespace TestSupport;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

std::optional<double> GetClearance(const TavAM::Platform& i_platform)
{
    const auto configuration = GetMachineConfiguration(i_platform);
    return configuration ? configuration->nesting->partToPart : std::nullopt;
}

/// A scene whose machine data say how far apart parts stand, and a machine that keeps what it is sent.
class CarriedConfigurationTest : public HostFixture
{
protected:
    CarriedConfigurationTest()
    {
        FakeBehaviour behaviour;
        behaviour.fillReport = [this](const CommandParameters& i_parameters) {
            TavAM::Database database;
            EXPECT_TRUE(TavAM::AMXFileReader().ReadFile(i_parameters.inputFile, database));
            _received.push_back(GetClearance(*database.GetPlatform(0)));
            return MakeReady(CommandResult());
        };
        FakeMachinesCatalog& catalog = SetNextCatalog();
        catalog.Set(MakeFakeMachine(MakeMachineData(1), behaviour));
        _client = std::make_unique<CommunicationClient>(
            _host.GetProviderGetter(), [](ServiceId) { return nullptr; }, [](const MachineData&) { return true; },
            nullptr);
        catalog.RaiseAdded(MakeId(1));
        _client->HandleModeChanged(ProgramModePlatform);
        TavAM::MachineParameters parameters;
        parameters.values.SetText(L"nesting.rotation", L"none");
        _host.scene->GetPlatform().SetMachine(parameters);
    }
    ~CarriedConfigurationTest() override { _client->HandleModeChanged(ProgramModeNone); }

    MachineLayer::Data::Machine& _GetMachine() const
    {
        return MachineLayer::Utilities::GetMachineDataMutable(_host.scene)->Edit();
    }
    std::optional<double> _GetCarried() const { return GetClearance(_host.scene->GetPlatform()); }
    void _Attach()
    {
        _client->HandleMachineChanged(_host.scene,
                                      QUuid(0x0f1e2d3c, 0x4b5a, 0x6978, 0x87, 0x96, 0xa5, 0xb4, 0xc3, 0xd2, 0xe1, 1));
    }

    std::unique_ptr<CommunicationClient> _client;
    std::vector<std::optional<double>> _received;
};

TEST_F(CarriedConfigurationTest, ScenesCarryWhatTheirMachineDataSayAsMachinesAndPlatformsCome)
{
    const auto activate = [this] {
        _host.GetDatabase().SetActiveDataSet(nullptr);
        _host.GetDatabase().SetActiveDataSet(_host.scene);
    };
    const auto changePlatform = [this] {
        _host.application.GetOperationManager()->Execute(L"platform", 4096, [] {});
    };
    const auto detach = [this] {
        _client->HandleMachineChangedForceDetach(_host.scene, QUuid());
    };
    QSignalSpy changed(_client.get(), &CommunicationClient::MachinesChanged);
    double clearance = 0;
    for (const std::function<void()>& event :
         {std::function<void()>([this] { _Attach(); }), {activate}, {changePlatform}, {detach}}) {
        SCOPED_TRACE(clearance);
        // What cannot be written is logged; the event is handled all the same, and nothing false is carried.
        _GetMachine().nesting->partToPart = NotANumber;
        event();
        EXPECT_EQ(GetMachineConfiguration(_host.scene->GetPlatform()), std::nullopt);
        _GetMachine().nesting->partToPart = ++clearance;
        changed.clear();
        event();
        EXPECT_EQ(_GetCarried(), clearance);
        EXPECT_GE(changed.count(), 1);
    }
}

TEST_F(CarriedConfigurationTest, AFilesOwnStaysWithASceneWithoutAPrinter)
{
    PlatformMachineConfiguration configuration;
    configuration.nesting.emplace().partToPart = 7;
    auto* const scene = _host.GetDatabase().CreateDataSet();
    SetMachineConfiguration(scene->GetPlatform(), configuration);
    const auto getCarried = [scene] {
        return GetClearance(scene->GetPlatform());
    };
    _host.GetDatabase().SetActiveDataSet(scene);
    _host.application.GetOperationManager()->Execute(L"platform", 4096, [] {});
    EXPECT_EQ(getCarried(), 7);
    _client->HandleMachineChanged(scene, QUuid());
    EXPECT_EQ(getCarried(), 7);
}

TEST_F(CarriedConfigurationTest, MachinesReceiveWhatTheMachineDataSayNow)
{
    _Attach();
    _GetMachine().nesting->partToPart = 3;
    _client->FillReportProperties(_host.scene);
    EXPECT_THAT(_received, ElementsAre(3));

    // Sent with nothing rather than not at all when it is only too long.
    _GetMachine().partExport.emplace().naming.assign(TavAM::PersistentProperties::LargestText, L'x');
    _client->FillReportProperties(_host.scene);
    EXPECT_THAT(_received, ElementsAre(3, std::nullopt));
    EXPECT_TRUE(_host.messages.GetMessages().empty());

    // Not sent with other values than the user sees.
    _GetMachine().nesting->partToPart = NotANumber;
    _client->FillReportProperties(_host.scene);
    EXPECT_EQ(_received.size(), 2U);
    ASSERT_EQ(_host.messages.GetMessages().size(), 1U);
    EXPECT_EQ(_host.messages.GetMessages()[0].kind, Vexlor::Message::Kind::Critical);
    EXPECT_THAT(_host.messages.GetMessages()[0].text.toStdString(),
                HasSubstr("Nesting/PartToPartClearance is not a number"));
}

} // namespace
