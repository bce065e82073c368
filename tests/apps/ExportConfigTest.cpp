#include "client/CommunicationClient.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "machineconfig/MachineConfiguration.h"
#include "machineconfig/MachineConfigurationFile.h"
#include "platform/IPlatformCreator.h"
#include "services/ServiceFixture.h"
#include "support/HostFixture.h"
#include "vexlorcore/SceneFile.h"
#include "vexlorcore/SceneMachineData.h"

#include <gmock/gmock.h>

#include <boost/uuid/uuid_io.hpp>

#include <QDir>
#include <QProcess>
#include <QTest>

namespace MachineService {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// What xmllint says; empty when the file is valid.
std::string Validate(const QString& i_schema, const std::filesystem::path& i_file)
{
    QProcess xmllint;
    xmllint.setProcessChannelMode(QProcess::MergedChannels);
    xmllint.start(QStringLiteral("xmllint"),
                  {QStringLiteral("--noout"), QStringLiteral("--nonet"), QStringLiteral("--schema"),
                   QStringLiteral(MACHINESERVICE_SCHEMAS "/") + i_schema, QString::fromStdString(i_file.string())});
    if (!xmllint.waitForFinished(60'000))
        return "xmllint did not run";
    return xmllint.exitCode() == 0 ? std::string() : xmllint.readAll().toStdString();
}

std::vector<std::string> GetElements(const PlatformMachineConfiguration& i_configuration)
{
    std::vector<std::string> elements;
    for (const ConfigurationSchema& schema : GetConfigurationSchemas(i_configuration))
        elements.push_back(schema.element);
    return elements;
}

class ShippedConfigurationTest : public TestSupport::HostFixture
{};

TEST_F(ShippedConfigurationTest, IsValidForEachPrinterAndTravelsWithTheSavedScene)
{
    CommunicationClient client(
        _host.GetProviderGetter(),
        [this](ServiceId) {
            return std::make_unique<Testing::TestUtility>(_host.GetDir(), std::map<std::string, std::string>());
        },
        [](const MachineData&) { return true; }, nullptr);
    client.HandleModeChanged(ProgramModePlatform);
    ASSERT_TRUE(client.Start(ServiceId::BuildProcessors));
    QTRY_COMPARE_WITH_TIMEOUT(client.GetMachines().size(), std::size_t{4}, 30'000);
    for (const Machine& machine : client.GetMachines()) {
        const MachineData data = machine.GetMachineData();
        SCOPED_TRACE(data.name);
        auto* const scene = _host.scene;
        client.HandleMachineChanged(scene, QUuid::fromString(QString::fromStdString(boost::uuids::to_string(data.id))));
        auto information = machine.GetPlatformInformation();
        std::wstring message;
        const auto creator = TryCreatePlatformCreator(machine, information, _host.GetProviderGetter(), message);
        ASSERT_TRUE(creator);
        for (std::size_t index = 0; index < creator->GetParameterCount(); ++index) {
            const auto& choice = *creator->GetParameter(index);
            creator->SetParameterValue(choice.GetId(), choice.GetItem(0)->GetId());
        }
        ASSERT_TRUE(creator->CreatePlatform(scene, false));

        // The platform of each machine replaces that of the one before, and so does its configuration.
        const auto path = _host.GetDir() / "scene.TavAMX";
        Utilities::UpdateMachineConfiguration(scene);
        VexlorCore::SaveScene(*scene, path);
        auto* const reopened = VexlorCore::LoadScene(_host.GetDatabase(), path);
        const auto carried = GetMachineConfiguration(reopened->GetPlatform());
        ASSERT_TRUE(carried);
        EXPECT_EQ(carried, MachineConfigurationFromMachineData(*MachineLayer::Utilities::GetMachineDataMutable(scene)));
        EXPECT_EQ(QString::fromStdWString(carried->machineName).toStdString(), data.name);
        EXPECT_THAT(GetElements(*carried), ElementsAre("MachineConfiguration", "SupportProfiles", "Nesting",
                                                       "ParametersBaseplate", "ParametersExportPart"));

        const auto file = _host.GetDir() / "configuration.xml";
        SaveMachineConfiguration(file, *carried);
        EXPECT_EQ(LoadMachineConfiguration(file), carried);
        EXPECT_EQ(Validate(QStringLiteral("MachineConfiguration-2026-11.xsd"), file), "");
    }
    client.HandleModeChanged(ProgramModeNone);
}

struct Outcome
{
    int status = -1;
    std::string output;
    std::string errors;
};

/// The real program with folders of its own.
class ExportConfigTest : public ::testing::Test
{
protected:
    QString _Path(const char* ip_name) const { return _dir.filePath(QLatin1String(ip_name)); }

    /// \param i_path where the program looks for programs; empty: where we do.
    Outcome _Run(const QStringList& i_arguments, const QString& i_path = {})
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("MACHINESERVICE_OUT_DIR"), _Path("out"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), _Path("config"));
        environment.remove(QStringLiteral("LANGUAGE"));
        if (!i_path.isEmpty())
            environment.insert(QStringLiteral("PATH"), i_path);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(WORKBENCH), i_arguments);
        EXPECT_TRUE(process.waitForFinished(120'000));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(), process.readAllStandardError().toStdString()};
    }
    /// A folder whose xmllint is this script.
    QString _MakeXmllint(const QByteArray& i_script) const
    {
        QDir(_dir.path()).mkdir(QStringLiteral("bin"));
        QFile file(_Path("bin/xmllint"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + i_script);
        file.setPermissions(file.permissions() | QFileDevice::ExeUser);
        return _Path("bin");
    }
    std::filesystem::path _GetFile() const { return _Path("out/machine-configuration.xml").toStdString(); }

    QTemporaryDir _dir;
};

TEST_F(ExportConfigTest, WritesTheAttachedPrintersConfigurationAndNamesItsSchemas)
{
    const QStringList arguments = {QStringLiteral("--export-config"), QStringLiteral("--machine"),
                                   QStringLiteral("lumen 8k")};
    const Outcome outcome = _Run(arguments);
    ASSERT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
    const auto configuration = LoadMachineConfiguration(_GetFile());
    EXPECT_EQ(configuration.machineName, L"Lumen 8K");
    EXPECT_THAT(outcome.output, HasSubstr("\n  valid, as checked against the schemas\n"));
    for (const ConfigurationSchema& schema : GetConfigurationSchemas(configuration))
        EXPECT_THAT(outcome.output,
                    AllOf(HasSubstr("    " + schema.fileName + " "), HasSubstr(schema.nameSpace + "\n")));
    EXPECT_EQ(QDir(_Path("out")).entryList(QDir::Files | QDir::Hidden),
              QStringList({QStringLiteral("machine-configuration.xml"), QStringLiteral("transcript.txt")}));

    // Without anything to check with it is written all the same, and nothing is claimed.
    std::filesystem::remove(_GetFile());
    const Outcome unchecked = _Run(arguments, _Path("none"));
    EXPECT_EQ(unchecked.status, 0) << unchecked.errors;
    EXPECT_EQ(LoadMachineConfiguration(_GetFile()), configuration);
    EXPECT_THAT(unchecked.output, AllOf(HasSubstr("not checked, xmllint was not found"), Not(HasSubstr("valid, as"))));
}

TEST_F(ExportConfigTest, EndsInOneSentenceWhenItFails)
{
    const QString exportConfig = QStringLiteral("--export-config");
    const struct
    {
        QStringList arguments;
        QByteArray xmllint;
        int status;
        const char* sentence;
    } rows[] = {
        {{exportConfig, QStringLiteral("part.stl")}, {}, 2, "--export-config takes neither meshes nor --command."},
        {{exportConfig, QStringLiteral("--command"), QStringLiteral("Print3D.Print")}, {}, 2, "nor --command."},
        {{exportConfig, QStringLiteral("--list")}, {}, 2, "--list takes"},
        {{exportConfig, QStringLiteral("--machine"), QStringLiteral("nobody")}, {}, 1, "No machine is called 'nobody'"},
        {{exportConfig}, "echo 'line 2 is wrong'; echo more; exit 3", 1, "keep to its schemas: line 2 is wrong\n"},
        {{exportConfig}, "kill -9 $$", 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        const Outcome outcome = _Run(row.arguments, row.xmllint.isEmpty() ? QString() : _MakeXmllint(row.xmllint));
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_THAT(outcome.errors, HasSubstr(row.sentence));
        EXPECT_THAT(outcome.output, Not(HasSubstr("valid, as")));
    }
    // What stands in the way stays.
    std::filesystem::remove(_GetFile());
    std::filesystem::create_directory(_GetFile());
    const Outcome outcome = _Run({exportConfig});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("machine-configuration.xml"));
    EXPECT_TRUE(std::filesystem::is_directory(_GetFile()));
}

} // namespace
} // namespace MachineService
