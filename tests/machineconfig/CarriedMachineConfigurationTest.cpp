#include "machineconfig/CarriedMachineConfiguration.h"

#include "machineconfig/MachineConfigurations.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/MachineParameters.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/SceneFile.h"
#include "vexlorcore/SceneMachineData.h"

#include <QTemporaryDir>
#include <QXmlStreamReader>

namespace {

using namespace TestSupport;

using TavAM::PersistentProperties;
using TavAM::PropertyNames::Print3D::MachineConfiguration;

/// A configuration whose document takes i_bytes in a platform file, or one less.
PlatformMachineConfiguration MakeConfigurationOf(std::size_t i_bytes)
{
    PlatformMachineConfiguration configuration = Convert(MakeFullMachine());
    configuration.partExport->naming = L"x";
    const std::string document = WriteMachineConfiguration(configuration);
    const std::size_t rest = PersistentProperties::CountSavedBytes(TavSDK::FromUtf8(document).value()) - 1;
    // Backslashes take two.
    configuration.partExport->naming.assign((i_bytes - rest) / 2, L'\\');
    return configuration;
}

TEST(CarriedMachineConfigurationTest, TravelsWithThePlatformAndCanBeReadWithoutThisLibrary)
{
    const PlatformMachineConfiguration configuration = MakeConfigurationOf(PersistentProperties::LargestText);
    TavAM::Platform platform;
    EXPECT_EQ(GetMachineConfiguration(platform), std::nullopt);
    SetMachineConfiguration(platform, configuration);

    QTemporaryDir folder;
    const std::filesystem::path path = folder.filePath(QStringLiteral("platform.TavAMX")).toStdString();
    TavAM::AMXFileWriter().WriteFile(path, platform);
    TavAM::Database database;
    TavAM::AMXFileReader reader;
    ASSERT_TRUE(reader.ReadFile(path, database)) << reader.GetError();
    const TavAM::Platform& loaded = *database.GetPlatform(0);
    EXPECT_EQ(GetMachineConfiguration(loaded), configuration);

    // As a machine service does.
    QXmlStreamReader xml(QString::fromStdWString(loaded.GetAMXProperties().GetText(MachineConfiguration).value()));
    QString clearance;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("PartToPartClearance") &&
            xml.namespaceUri() == QLatin1String("https://www.vexlor.example/AM/MachineData/Nesting/2023/03"))
            clearance = xml.readElementText();
    }
    EXPECT_FALSE(xml.hasError());
    EXPECT_EQ(clearance.toDouble(), 5.0);

    // Nothing is carried that a platform file could not give back, and what is there stays.
    const PlatformMachineConfiguration large = MakeConfigurationOf(PersistentProperties::LargestText + 2);
    EXPECT_EQ(GetFailure([&] { SetMachineConfiguration(platform, large); }).code, ErrorCode::InternalError);
    EXPECT_EQ(GetMachineConfiguration(platform), configuration);
    EXPECT_EQ(ReadMachineConfiguration(WriteMachineConfiguration(large)), large);
    platform.GetAMXProperties().SetText(MachineConfiguration, L"<Nesting>");
    EXPECT_EQ(GetFailure([&] { GetMachineConfiguration(platform); }).code, ErrorCode::FileError);
}

TEST(CarriedMachineConfigurationTest, FollowsTheSceneStepByStep)
{
    using Step = std::function<void(VexlorCore::DataSet&, Data::Machine*)>;
    const auto setShape = [](const wchar_t* ip_shape) {
        return [ip_shape](VexlorCore::DataSet& io_scene, Data::Machine*) {
            TavAM::MachineParameters parameters;
            parameters.name = L"Machine";
            parameters.values.SetText(L"platform.shape", ip_shape);
            parameters.values.SetText(L"platform.diameter", L"100");
            parameters.values.SetText(L"platform.height", L"100");
            parameters.values.SetText(L"nesting.rotation", L"any");
            io_scene.GetPlatform().SetMachine(parameters);
        };
    };
    enum class End
    {
        Carries,
        CarriesNone,
        KeepsTheFilesOwn,
        IsRefused,
    };
    const struct
    {
        const char* what;
        Step change;
        End end;
    } rows[] = {
        {"no machine", [](VexlorCore::DataSet&, Data::Machine*) {}, End::CarriesNone},
        {"one that came with a file",
         [](VexlorCore::DataSet& io_scene, Data::Machine*) {
             SetMachineConfiguration(io_scene.GetPlatform(), Convert(MakeFullMachine()));
         },
         End::KeepsTheFilesOwn},
        {"a machine", setShape(L"cylinder"), End::Carries},
        {"machine data that grew", [](VexlorCore::DataSet&, Data::Machine* op_m) { *op_m = MakeFullMachine(); },
         End::Carries},
        {"nothing", [](VexlorCore::DataSet&, Data::Machine*) {}, End::Carries},
        {"a document that was lost",
         [](VexlorCore::DataSet& io_scene, Data::Machine*) {
             io_scene.GetPlatform().GetAMXProperties().SetText(MachineConfiguration, L"<Nesting>");
         },
         End::Carries},
        {"machine data that cannot be written",
         [](VexlorCore::DataSet&, Data::Machine* op_m) {
             op_m->nesting->partToPart = std::numeric_limits<double>::quiet_NaN();
         },
         End::IsRefused},
        {"one value", [](VexlorCore::DataSet&, Data::Machine* op_m) { op_m->nesting->partToPart = 7; }, End::Carries},
        {"too much",
         [](VexlorCore::DataSet&, Data::Machine* op_m) {
             op_m->partExport->naming.assign(PersistentProperties::LargestText, L'x');
         },
         End::CarriesNone},
        {"less again", [](VexlorCore::DataSet&, Data::Machine* op_m) { op_m->partExport->naming = L"x"; },
         End::Carries},
        {"parameters that nobody understands", setShape(L"torus"), End::IsRefused},
        {"those of before", setShape(L"cylinder"), End::Carries},
        {"no machine any more",
         [](VexlorCore::DataSet& io_scene, Data::Machine*) { io_scene.GetPlatform().SetMachine(std::nullopt); },
         End::CarriesNone},
        {"the machine again", setShape(L"cylinder"), End::Carries},
        {"no section left", [](VexlorCore::DataSet&, Data::Machine* op_m) { *op_m = {}; }, End::CarriesNone},
    };
    VexlorCore::Database database;
    VexlorCore::DataSet& scene = *database.CreateDataSet();
    const VexlorCore::DataSet& looked = scene;
    QTemporaryDir folder;
    Data::Machine* machine = nullptr;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        row.change(scene, machine);
        if (row.end == End::IsRefused) {
            EXPECT_ANY_THROW(Utilities::UpdateMachineConfiguration(&scene));
        } else {
            Utilities::UpdateMachineConfiguration(&scene);
            auto* const data = MachineLayer::Utilities::GetMachineDataMutable(&scene);
            machine = data ? &data->Edit() : nullptr;
        }
        const bool carries = row.end == End::Carries || row.end == End::KeepsTheFilesOwn;
        ASSERT_EQ(looked.GetPlatform().GetAMXProperties().Has(MachineConfiguration), carries);
        if (carries) {
            EXPECT_EQ(GetMachineConfiguration(looked.GetPlatform()), Convert(machine ? *machine : MakeFullMachine()));
        }
        EXPECT_NO_THROW(VexlorCore::SaveScene(scene, folder.filePath(QStringLiteral("a.TavAMX")).toStdString()));
    }
}

} // namespace
