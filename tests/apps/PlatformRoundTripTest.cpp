#include "client/CommunicationClient.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "machineconfig/MachineConfiguration.h"
#include "machineconfig/MachineConfigurationFile.h"
#include "platform/IPlatformCreator.h"
#include "services/ServiceFixture.h"
#include "support/HostFixture.h"
#include "support/Xmllint.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/SceneFile.h"
#include "vexlorcore/SceneMachineData.h"

#include <QTest>

#include <boost/uuid/uuid_io.hpp>

namespace MachineService {
namespace {

/// A host, the library and the services that come with it; nothing is played.
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

    std::unique_ptr<IPlatformCreator> MakeCreator(const Machine& i_machine)
    {
        auto information = i_machine.GetPlatformInformation();
        std::wstring message;
        auto creator = TryCreatePlatformCreator(i_machine, information, _host.GetProviderGetter(), message);
        EXPECT_EQ(message, L"");
        return creator;
    }

    VexlorCore::DataSet* MakeScene(const Machine& i_machine)
    {
        auto* const scene = _host.GetDatabase().CreateDataSet();
        _host.GetDatabase().SetActiveDataSet(scene);
        client.HandleMachineChanged(
            scene, QUuid::fromString(QString::fromStdString(boost::uuids::to_string(i_machine.GetMachineData().id))));
        return scene;
    }

    /// The platform carries what the machine data say, and as a file that is valid.
    void ExpectConfiguration(const TavAM::Platform& i_platform, const MachineLayer::IMachineData& i_data,
                             const std::string& i_name) const
    {
        const auto carried = GetMachineConfiguration(i_platform);
        ASSERT_TRUE(carried);
        EXPECT_EQ(carried, MachineConfigurationFromMachineData(i_data));
        EXPECT_EQ(QString::fromStdWString(carried->machineName).toStdString(), i_name);
        std::vector<std::string> elements;
        for (const ConfigurationSchema& schema : GetConfigurationSchemas(*carried))
            elements.push_back(schema.element);
        EXPECT_EQ(elements, (std::vector<std::string>{"MachineConfiguration", "SupportProfiles", "Nesting",
                                                      "ParametersBaseplate", "ParametersExportPart"}));
        const auto file = _host.GetDir() / "configuration.xml";
        SaveMachineConfiguration(file, *carried);
        EXPECT_EQ(LoadMachineConfiguration(file), carried);
        EXPECT_EQ(TestSupport::ValidateConfigurations({}, {QString::fromStdString(file.string())}), "");
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

TEST_F(PlatformRoundTripTest, EachShippedPrinterGivesAPlatformThatSurvivesSavingAndReopening)
{
    ASSERT_TRUE(client.Start(ServiceId::BuildProcessors));
    QTRY_COMPARE_WITH_TIMEOUT(client.GetMachines().size(), std::size_t{4}, 30'000);
    for (const Machine& offered : client.GetMachines()) {
        const MachineData data = offered.GetMachineData();
        SCOPED_TRACE(data.name);
        auto* const scene = MakeScene(offered);
        const auto machine = client.TryGetPrinter(scene);
        ASSERT_TRUE(machine);
        const auto creator = MakeCreator(*machine);
        ASSERT_TRUE(creator);
        EXPECT_EQ(QString::fromStdWString(creator->GetName()).toStdString(), data.name);
        EXPECT_EQ(QString::fromStdWString(creator->GetComment()).toStdString(), data.comment);
        EXPECT_GE(creator->GetMaterialCount(), 2U);
        ExpectShape(creator->GetMachineData()->Get(), *data.buildVolume);

        // Material, layer height and plate, and a nozzle where there is one; one of them is required.
        std::map<std::wstring, std::wstring> chosen;
        int required = 0;
        for (std::size_t index = 0; index < creator->GetParameterCount(); ++index) {
            const auto& choice = *creator->GetParameter(index);
            ASSERT_GE(choice.GetItemCount(), 2U);
            int defaults = 0;
            for (std::size_t item = 0; item < choice.GetItemCount(); ++item)
                defaults += choice.GetItem(item)->IsDefault() ? 1 : 0;
            EXPECT_EQ(defaults, 1) << QString::fromStdWString(choice.GetId()).toStdString();
            required += choice.IsRequired() ? 1 : 0;
            const auto* last = choice.GetItem(choice.GetItemCount() - 1);
            chosen[choice.GetId()] = last->GetId();
            creator->SetParameterValue(choice.GetId(), last->GetId());
        }
        EXPECT_EQ(chosen.size(), data.driverId == "buildprocessor.sla" ? 3U : 4U);
        EXPECT_EQ(required, 1);
        ASSERT_TRUE(creator->CreatePlatform(scene, false));
        for (const auto& [id, value] : chosen)
            EXPECT_EQ(std::as_const(scene->GetPlatform()).GetAMXProperties().GetText(id), value);
        scene->GetParts().push_back(TestSupport::MakePart(L"part"));
        Utilities::UpdateMachineConfiguration(scene);

        const auto path = _host.GetDir() / "scene.TavAMX";
        VexlorCore::SaveScene(*scene, path);
        auto* const reopened = VexlorCore::LoadScene(_host.GetDatabase(), path);
        const TavAM::Platform& before = scene->GetPlatform();
        const TavAM::Platform& after = reopened->GetPlatform();
        EXPECT_EQ(after.GetName(), before.GetName());
        EXPECT_TRUE(after.GetAMXProperties() == before.GetAMXProperties());
        EXPECT_TRUE(after.GetAMXProperties().Has(TavAM::PropertyNames::Print3D::MachineInformationTimestamp));
        ASSERT_TRUE(before.GetMachine() && after.GetMachine());
        EXPECT_TRUE(*after.GetMachine() == *before.GetMachine());
        ASSERT_EQ(after.GetParts().size(), 1U);
        EXPECT_EQ(after.GetParts()[0].GetRevisionId(), before.GetParts()[0].GetRevisionId());
        const auto* dataBefore = MachineLayer::Utilities::GetMachineDataMutable(scene);
        const auto* dataAfter = MachineLayer::Utilities::GetMachineDataMutable(reopened);
        ASSERT_TRUE(dataBefore && dataAfter);
        EXPECT_TRUE(dataAfter->Get() == dataBefore->Get());
        ExpectShape(dataAfter->Get(), *data.buildVolume);
        ExpectConfiguration(after, *dataBefore, data.name);
        const auto attached = client.TryGetPrinter(reopened);
        ASSERT_TRUE(attached);
        EXPECT_EQ(attached->GetMachineData().id, data.id);

        // Where nobody chooses anew, the reopened scene remembers.
        const auto again = MakeCreator(*attached);
        ASSERT_TRUE(again && again->CreatePlatform(reopened, true));
        for (const auto& [id, value] : chosen)
            EXPECT_EQ(std::as_const(reopened->GetPlatform()).GetAMXProperties().GetText(id), value);
        EXPECT_EQ(reopened->GetPlatform().GetParts().size(), 1U);
    }
}

} // namespace
} // namespace MachineService
