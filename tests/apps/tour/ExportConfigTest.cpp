#include "apps/tour/TourFixture.h"
#include "machineconfig/MachineConfiguration.h"
#include "machineconfig/MachineConfigurationFile.h"

#include <gmock/gmock.h>

namespace MachineService {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class ExportConfigTest : public TestSupport::TourFixture
{
protected:
    std::filesystem::path _GetFile() const { return Path("out/machine-configuration.xml").toStdString(); }
};

TEST_F(ExportConfigTest, WritesTheAttachedPrintersConfigurationAndNamesItsSchemas)
{
    const QStringList arguments = {QStringLiteral("--export-config"), QStringLiteral("--machine"),
                                   QStringLiteral("lumen 8k")};
    const auto outcome = Run(arguments);
    ASSERT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
    const auto configuration = LoadMachineConfiguration(_GetFile());
    EXPECT_EQ(configuration.machineName, L"Lumen 8K");
    EXPECT_THAT(outcome.output, HasSubstr("\n  valid, as checked against the schemas\n"));
    for (const ConfigurationSchema& schema : GetConfigurationSchemas(configuration))
        EXPECT_THAT(outcome.output,
                    AllOf(HasSubstr("    " + schema.fileName + " "), HasSubstr(schema.nameSpace + "\n")));
    EXPECT_EQ(QDir(Path("out")).entryList(QDir::Files | QDir::Hidden),
              QStringList({QStringLiteral("machine-configuration.xml"), QStringLiteral("transcript.txt")}));

    // Without anything to check with it is written all the same, and nothing is claimed.
    std::filesystem::remove(_GetFile());
    SetVariable("PATH", Path("none"));
    const auto unchecked = Run(arguments);
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
        if (!row.xmllint.isEmpty()) {
            SetVariable("PATH", _dir.path());
            WriteFile(Path("xmllint"), "#!/bin/sh\n" + row.xmllint, true);
        }
        const auto outcome = Run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_THAT(outcome.errors, HasSubstr(row.sentence));
        EXPECT_THAT(outcome.output, Not(HasSubstr("valid, as")));
    }
    // A folder of that name is not replaced.
    std::filesystem::remove(_GetFile());
    std::filesystem::create_directory(_GetFile());
    const auto outcome = Run({exportConfig});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("machine-configuration.xml"));
    EXPECT_TRUE(std::filesystem::is_directory(_GetFile()));
}

} // namespace
} // namespace MachineService
