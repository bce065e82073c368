#include "service/FoamCutter.h"

#include "client/CommunicationClient.h"
#include "client/interface/ICommunicationServiceAPI.h"
#include "commands/CommandNames.h"
#include "commands/PrinterCommandManager.h"
#include "core/ServicesCatalog.h"
#include "platform/IPlatformCreator.h"
#include "support/Failures.h"
#include "support/Files.h"
#include "support/HostFixture.h"
#include "tavam/PropertyNames.h"

#include <QTest>

using namespace MachineService;

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

constexpr auto FoamCutters = ServiceId(1000);

std::filesystem::path g_jobsDir; // NOLINT: the door between a host and its services takes no argument

class ExampleServices final : public ICommunicationServiceAPI
{
public:
    void Initialize() override {}
    std::unique_ptr<AbstractMachinesCatalog>
    CreateMachinesCatalog(const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>&) override
    {
        auto catalog = std::make_unique<ServicesCatalog>();
        catalog->AddService(FoamCutters, Example::MakeFoamCutters(g_jobsDir));
        return catalog;
    }
};

} // namespace

std::unique_ptr<ICommunicationServiceAPI> MachineService::CreateCommunicationService()
{
    return std::make_unique<ExampleServices>();
}

namespace {

/// A real host with the example's machine attached to its scene, on which two tetrahedra stand.
class FoamCutterTest : public TestSupport::HostFixture
{
protected:
    FoamCutterTest()
    {
        g_jobsDir = _host.GetDir() / "jobs";
        _client = std::make_unique<CommunicationClient>(
            _host.GetProviderGetter(), [](ServiceId) { return nullptr; }, [](const MachineData&) { return true; },
            nullptr);
        _client->HandleModeChanged(ProgramModePlatform);
        EXPECT_TRUE(_client->Start(FoamCutters));
        EXPECT_TRUE(QTest::qWaitFor([this] { return !_client->GetMachines().empty(); }));
        _client->HandleMachineChanged(_host.scene, QUuid("3c2f7a10-8a44-4a6e-9f0d-5e3b1a7c9d01"));
        _host.scene->GetParts() = {TestSupport::MakePart(L"first"), TestSupport::MakePart(L"second", 100)};
        _manager = std::make_unique<PrinterCommandManager>(
            [this] { return _host.scene; }, [this](auto* ip_scene) { return _client->TryGetPrinter(ip_scene); },
            _host.GetProviderGetter(), [] { return QString(); });
        _manager->Activate();
    }
    ~FoamCutterTest() override { _client->HandleModeChanged(ProgramModeNone); }

    bool _Run(const char* ip_command) { return _manager->GetCommand(QLatin1String(ip_command))->Exec(); }
    std::wstring _Get(const wchar_t* ip_name)
    {
        return _host.scene->GetPlatform().GetAMXProperties().GetText(ip_name).value_or(L"");
    }

    std::unique_ptr<CommunicationClient> _client;
    std::unique_ptr<PrinterCommandManager> _manager;
};

TEST_F(FoamCutterTest, AppearsWithItsCommandsAndTheirIcon)
{
    EXPECT_EQ(_manager->PrinterName(), QStringLiteral("Foam Cutter 600"));
    EXPECT_EQ(_manager->GetAllCommands().size(), 2);
    const auto* const time = _manager->GetCommand(QLatin1String(BPCommandNamePrintConsumptionEstimations));
    ASSERT_TRUE(time);
    EXPECT_FALSE(time->GetIcon().isNull());
    EXPECT_EQ(_client->GetVersionInformation().get(),
              (std::vector<std::pair<std::string, std::string>>{{"Foam cutters", "1.0"}}));
}

TEST_F(FoamCutterTest, CutsAtTheSpeedThatWasChosenForThePlatform)
{
    const auto machine = *_client->TryGetPrinter(_host.scene);
    auto information = machine.GetPlatformInformation();
    std::wstring message;
    const auto creator = TryCreatePlatformCreator(machine, information, _host.GetProviderGetter(), message);
    ASSERT_TRUE(creator) << QString::fromStdWString(message).toStdString();
    ASSERT_EQ(creator->GetParameterCount(), 1u);
    EXPECT_EQ(creator->GetParameter(0)->GetItemCount(), 2u);
    const auto parts = _host.scene->GetParts();

    // Each of the two rectangles has sides of 10 mm: 80 mm in all.
    ASSERT_TRUE(_Run(BPCommandNamePrintConsumptionEstimations));
    EXPECT_EQ(std::stod(_Get(Names::PrintTimeSeconds)), 4);
    EXPECT_FALSE(std::filesystem::exists(g_jobsDir));

    creator->SetParameterValue(L"FoamCutter.Speed", L"fine");
    ASSERT_TRUE(creator->CreatePlatform(_host.scene, false));
    EXPECT_EQ(_Get(L"FoamCutter.Speed"), L"fine");
    _host.scene->GetParts() = parts;
    ASSERT_TRUE(_Run(BPCommandNameBuild));
    EXPECT_EQ(std::stod(_Get(Names::PrintTimeSeconds)), 16);
    const auto drawing = TestSupport::ReadFile(_Get(Names::MachineFile));
    EXPECT_NE(drawing.find("<rect x='100.0"), std::string::npos) << drawing;
    EXPECT_TRUE(_host.messages.GetMessages().empty());
}

TEST_F(FoamCutterTest, TellsTheUserOnceWhatIsWrong)
{
    const auto machine = *_client->TryGetPrinter(_host.scene);
    EXPECT_EQ(TestSupport::GetFailure([&] { machine.GetEmptyPlatform("").get(); }).text,
              "The printer 'Foam Cutter 600' needs a value of FoamCutter.Speed; it has 'fast', 'fine'.");
    // The folder of jobs cannot be made: a file has its name.
    TestSupport::WriteFile(g_jobsDir, "in the way");
    EXPECT_FALSE(_Run(BPCommandNameBuild));
    ASSERT_EQ(_host.messages.GetMessages().size(), 1u);
    EXPECT_EQ(_host.messages.GetMessages()[0].kind, Vexlor::Message::Kind::Critical);
}

TEST_F(FoamCutterTest, OutlivesItsServiceAsAMachineThatAnswersNothing)
{
    const auto machine = *_client->TryGetPrinter(_host.scene);
    _manager.reset();
    _client->HandleModeChanged(ProgramModeNone);
    _client = std::make_unique<CommunicationClient>(
        _host.GetProviderGetter(), [](ServiceId) { return nullptr; }, [](const MachineData&) { return true; }, nullptr);
    EXPECT_EQ(TestSupport::GetFailure([&] { machine.GetCommands().get(); }).code, ErrorCode::ServicesUnavailable);
}

} // namespace
