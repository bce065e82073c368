#include "client/CommunicationClient.h"
#include "hosting/PlatformComparison.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "machineconfig/MachineConfiguration.h"
#include "machineconfig/MachineConfigurationFile.h"
#include "platform/IPlatformCreator.h"
#include "services/ServiceFiles.h"
#include "support/HostFixture.h"
#include "support/Xmllint.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/SceneFile.h"
#include "vexlorcore/SceneMachineData.h"

#include <QTest>

#include <boost/uuid/uuid_io.hpp>

namespace {

using namespace MachineService;

using Choices = std::map<std::wstring, std::wstring>;

/// A platform that was made for a printer and prepared, and what was chosen for it.
struct Prepared
{
    MachineData data;
    std::unique_ptr<IPlatformCreator> creator;
    VexlorCore::DataSet* scene = nullptr;
    Choices chosen; ///< the last item of each choice
};

/// A host, the library and the services that come with it; nothing is faked. Each test is about every shipped printer.
class PlatformRoundTripTest : public TestSupport::HostFixture
{
protected:
    PlatformRoundTripTest()
        : client(
              _host.GetProviderGetter(),
              [this](ServiceId) {
                  return std::make_unique<Testing::TestUtility>(_host.GetDir(), std::map<std::string, std::string>());
              },
              [](const MachineData&) { return true; }, nullptr)
    {
        client.HandleModeChanged(ProgramModePlatform);
    }
    ~PlatformRoundTripTest() override { client.HandleModeChanged(ProgramModeNone); }

    void ForEachPrinter(const std::function<void(Prepared&)>& i_test)
    {
        ASSERT_TRUE(client.Start(ServiceId::BuildProcessors));
        QTRY_COMPARE_WITH_TIMEOUT(client.GetMachines().size(), std::size_t{4}, 30'000);
        for (const Machine& machine : client.GetMachines()) {
            SCOPED_TRACE(machine.GetMachineData().name);
            Prepared prepared{machine.GetMachineData(), nullptr, _host.GetDatabase().CreateDataSet(), {}};
            _host.GetDatabase().SetActiveDataSet(prepared.scene);
            client.HandleMachineChanged(
                prepared.scene, QUuid::fromString(QString::fromStdString(boost::uuids::to_string(prepared.data.id))));
            prepared.creator = MakeCreator(*prepared.scene);
            ASSERT_TRUE(prepared.creator);
            for (std::size_t index = 0; index < prepared.creator->GetParameterCount(); ++index) {
                const auto& choice = *prepared.creator->GetParameter(index);
                const auto* last = choice.GetItem(choice.GetItemCount() - 1);
                prepared.chosen[choice.GetId()] = last->GetId();
                prepared.creator->SetParameterValue(choice.GetId(), last->GetId());
            }
            ASSERT_TRUE(prepared.creator->CreatePlatform(prepared.scene, false));
            prepared.scene->GetParts().push_back(TestSupport::MakePart(L"part"));
            Utilities::UpdateMachineConfiguration(prepared.scene);
            i_test(prepared);
        }
    }

    /// For the printer that is attached to the scene.
    std::unique_ptr<IPlatformCreator> MakeCreator(VexlorCore::DataSet& io_scene)
    {
        const auto machine = client.TryGetPrinter(&io_scene);
        EXPECT_TRUE(machine);
        if (!machine)
            return nullptr;
        auto information = machine->GetPlatformInformation();
        std::wstring message;
        auto creator = TryCreatePlatformCreator(*machine, information, _host.GetProviderGetter(), message);
        EXPECT_EQ(message, L"");
        return creator;
    }

    VexlorCore::DataSet& SaveAndReopen(VexlorCore::DataSet& io_scene)
    {
        const auto path = _host.GetDir() / "scene.TavAMX";
        VexlorCore::SaveScene(io_scene, path);
        return *VexlorCore::LoadScene(_host.GetDatabase(), path);
    }

    CommunicationClient client;
};

void ExpectShape(const MachineLayer::Data::Machine& i_machine, const BuildVolume& i_volume)
{
    ASSERT_TRUE(i_machine.platformShape);
    if (const auto* box = std::get_if<MachineLayer::Data::BoxShape>(&*i_machine.platformShape)) {
        EXPECT_FALSE(i_volume.isCircular);
        EXPECT_DOUBLE_EQ(box->width, i_volume.maxX - i_volume.minX);
        EXPECT_DOUBLE_EQ(box->depth, i_volume.maxY - i_volume.minY);
        EXPECT_DOUBLE_EQ(box->height, i_volume.height);
    } else {
        const auto& cylinder = std::get<MachineLayer::Data::CylinderShape>(*i_machine.platformShape);
        EXPECT_TRUE(i_volume.isCircular);
        EXPECT_DOUBLE_EQ(cylinder.diameter, i_volume.maxX - i_volume.minX);
        EXPECT_DOUBLE_EQ(cylinder.height, i_volume.height);
    }
    ASSERT_EQ(i_machine.scanFields.size(), 1U);
    EXPECT_TRUE(i_machine.baseplate);
    // A parameter under a mistyped name would be among them.
    for (const auto& [name, value] : i_machine.settings)
        EXPECT_EQ(name.find(L'.'), std::wstring::npos) << QString::fromStdWString(name).toStdString();
}

void ExpectChoices(const TavAM::Platform& i_platform, const Choices& i_chosen)
{
    for (const auto& [id, value] : i_chosen)
        EXPECT_EQ(i_platform.GetAMXProperties().GetText(id), value);
}

TEST_F(PlatformRoundTripTest, ReopenedScenesAreThoseThatWereSaved)
{
    ForEachPrinter([this](Prepared& io_prepared) {
        VexlorCore::DataSet& reopened = SaveAndReopen(*io_prepared.scene);
        const TavAM::Platform& platform = reopened.GetPlatform();
        EXPECT_EQ(Hosting::FindDifference(io_prepared.scene->GetPlatform(), platform).toStdString(), "");
        EXPECT_TRUE(platform.GetMachine());
        EXPECT_TRUE(platform.GetAMXProperties().Has(TavAM::PropertyNames::Print3D::MachineInformationTimestamp));
        const auto* before = MachineLayer::Utilities::GetMachineDataMutable(io_prepared.scene);
        const auto* after = MachineLayer::Utilities::GetMachineDataMutable(&reopened);
        ASSERT_TRUE(before && after);
        EXPECT_TRUE(after->Get() == before->Get());
        ExpectChoices(platform, io_prepared.chosen);
        ExpectShape(after->Get(), *io_prepared.data.buildVolume);
    });
}

TEST_F(PlatformRoundTripTest, ReopenedScenesCarryThePrintersConfigurationAsAValidDocument)
{
    ForEachPrinter([this](Prepared& io_prepared) {
        VexlorCore::DataSet& reopened = SaveAndReopen(*io_prepared.scene);
        const auto carried = GetMachineConfiguration(reopened.GetPlatform());
        ASSERT_TRUE(carried);
        const auto& data = *MachineLayer::Utilities::GetMachineDataMutable(io_prepared.scene);
        EXPECT_EQ(carried, MachineConfigurationFromMachineData(data));
        EXPECT_EQ(QString::fromStdWString(carried->machineName).toStdString(), io_prepared.data.name);
        std::vector<std::string> elements;
        for (const ConfigurationSchema& schema : GetConfigurationSchemas(*carried))
            elements.push_back(schema.element);
        EXPECT_EQ(elements, (std::vector<std::string>{"MachineConfiguration", "SupportProfiles", "Nesting",
                                                      "ParametersBaseplate", "ParametersExportPart"}));
        const auto file = _host.GetDir() / "configuration.xml";
        SaveMachineConfiguration(file, *carried);
        EXPECT_EQ(LoadMachineConfiguration(file), carried);
        EXPECT_EQ(TestSupport::ValidateConfigurations({}, {QString::fromStdString(file.string())}), "");
    });
}

TEST_F(PlatformRoundTripTest, ReopenedScenesRememberPrinterAndChoices)
{
    ForEachPrinter([this](Prepared& io_prepared) {
        VexlorCore::DataSet& reopened = SaveAndReopen(*io_prepared.scene);
        const auto attached = client.TryGetPrinter(&reopened);
        ASSERT_TRUE(attached);
        EXPECT_EQ(attached->GetMachineData().id, io_prepared.data.id);
        // Nobody chooses again.
        const auto again = MakeCreator(reopened);
        ASSERT_TRUE(again && again->CreatePlatform(&reopened, true));
        ExpectChoices(reopened.GetPlatform(), io_prepared.chosen);
        EXPECT_EQ(reopened.GetPlatform().GetParts().size(), 1U);
    });
}

} // namespace
