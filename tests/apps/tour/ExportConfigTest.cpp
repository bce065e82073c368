#include "apps/tour/TourFixture.h"
#include "machineconfig/MachineConfiguration.h"
#include "machineconfig/MachineConfigurationFile.h"

namespace {

using namespace MachineService;
using TestSupport::Texts;

class ExportConfigTest : public TestSupport::TourFixture
{
protected:
    /// In a locale whose characters the folder's name does not have.
    ExportConfigTest()
    {
        SetVariable("LC_ALL", "C");
        SetVariable("MACHINESERVICE_OUT_DIR", _GetFolder());
    }

    std::string _GetFolder() const { return Path("out \xc3\xbc"); }
    std::filesystem::path _GetFile() const { return _GetFolder() + "/machine-configuration.xml"; }
};

TEST_F(ExportConfigTest, WritesTheAttachedPrintersConfigurationAndNamesItsSchemas)
{
    const Texts arguments = {"--export-config", "--machine", "lumen 8k"};
    const auto outcome = Run(arguments);
    ASSERT_EQ(outcome.status, 0) << outcome.output << outcome.errors;
    const auto configuration = LoadMachineConfiguration(_GetFile());
    EXPECT_EQ(configuration.machineName, L"Lumen 8K");
    EXPECT_THAT(outcome.output, HasSubstr("\n  valid, as checked against the schemas\n"));
    for (const ConfigurationSchema& schema : GetConfigurationSchemas(configuration))
        EXPECT_THAT(outcome.output,
                    AllOf(HasSubstr("    " + schema.fileName + " "), HasSubstr(schema.nameSpace + "\n")));
    EXPECT_THAT(TestSupport::GetFileNames(_GetFolder()),
                UnorderedElementsAre("machine-configuration.xml", "transcript.txt"));

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
    const struct
    {
        Texts arguments;
        std::string xmllint;
        int status;
        const char* sentence;
    } rows[] = {
        {{"--export-config", "part.stl"}, "", 2, "--export-config takes neither meshes nor --command nor --post."},
        {{"--export-config", "--command", "Print3D.Print"}, "", 2, "nor --command nor --post."},
        {{"--export-config", "--list"}, "", 2, "--list takes"},
        {{"--export-config", "--machine", "nobody"}, "", 1, "No machine is called 'nobody'"},
        {{"--export-config"}, "echo 'line 2 is wrong'; echo more; exit 3", 1, "to its schemas: line 2 is wrong\n"},
        {{"--export-config"}, "kill -9 $$", 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        if (!row.xmllint.empty()) {
            SetVariable("PATH", Path(""));
            WriteScript("xmllint", row.xmllint);
        }
        const auto outcome = Run(row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.output;
        EXPECT_THAT(outcome.errors, HasSubstr(row.sentence));
        EXPECT_THAT(outcome.output, Not(HasSubstr("valid, as")));
    }
    // A folder of that name is not replaced.
    std::filesystem::remove(_GetFile());
    std::filesystem::create_directory(_GetFile());
    const auto outcome = Run({"--export-config"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("machine-configuration.xml"));
    EXPECT_TRUE(std::filesystem::is_directory(_GetFile()));
}

} // namespace
