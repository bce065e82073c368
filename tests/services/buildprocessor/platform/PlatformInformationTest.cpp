#include "buildprocessor/platform/PlatformInformation.h"

#include "buildprocessor/machines/MachineSettings.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/machines/ShippedProfiles.h"
#include "buildprocessor/platform/JobSettings.h"
#include "buildprocessor/platform/PropertyNames.h"
#include "services/ServiceFixture.h"

#include <gmock/gmock.h>

#include <boost/uuid/uuid_io.hpp>

using namespace MachineService;

namespace {

using namespace Testing;
using ::testing::HasSubstr;
using ::testing::Not;
namespace Own = BuildProcessor::PropertyName;
namespace fs = std::filesystem;

/// Two of everything that there is to choose; texts outside ASCII, and with characters that XML escapes.
std::string MakeChoosableProfile()
{
    std::string profile = Replaced(MakeProfile(), "\"layerHeights\": [0.3]",
                                   R"("nozzles": [0.4, 0.6], "layerHeights": [0.3, 0.2],
                    "plates": [{"name": "Glass"}, {"name": "Riffelblech <ß>", "bedTemperatureOffset": 5}])");
    return Replaced(profile, "\"bedTemperature\": 60}]",
                    R"("bedTemperature": 60}, {"name": "Zäh & hart", "density": 1.5, "diameter": 1.75,
                        "nozzleTemperature": 250, "bedTemperature": 80}])");
}

std::string MakeChoices(const std::string& i_values)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><PlatformCreationParameters "
           "xmlns=\"https://www.vexlor.example/BuildProcessor/2014\">" +
           i_values + "</PlatformCreationParameters>";
}

std::string MakeValue(const std::string& i_id, const std::string& i_value)
{
    return "<ParameterValue id=\"BuildProcessor." + i_id + "\">" + i_value + "</ParameterValue>";
}

class PlatformInformationTest : public ServiceTest
{
protected:
    PlatformInformationTest() { Start(MakeChoosableProfile()); }

    TavAM::Platform MakeEmptyPlatform(const std::string& i_parameters, const std::string& i_machine = TestId)
    {
        const auto [result, item] = GetMachine(i_machine).GetEmptyPlatform(i_parameters).get();
        EXPECT_TRUE(result.completed);
        EXPECT_EQ(result.dataFormat, DataFormat::Platform);
        EXPECT_EQ(item.kind, PlatformDataKind::Platform);
        EXPECT_TRUE(fs::is_empty(dir / "temp"));
        WriteFile(dir / "empty.TavAMX", item.data);
        return ReadPlatform(dir / "empty.TavAMX");
    }

    /// The machine file of one small part on the platform.
    std::string Build(TavAM::Platform i_platform)
    {
        i_platform.GetParts().push_back(MakePart(L"cube", ToRepresentation(MakeBox(20, 20, 0, 10, 10, 3))));
        const auto parameters = MakeParameters(i_platform);
        fs::remove_all(dir / "data" / "jobs");
        GetMachine().RunCommand(parameters).get();
        for (const auto& entry : fs::recursive_directory_iterator(dir / "data" / "jobs")) {
            if (entry.path().extension() == ".gcode")
                return ReadFile(entry.path());
        }
        return {};
    }
};

using RealPlatformInformationTest = WithEngine<PlatformInformationTest>;

} // namespace

TEST_F(RealPlatformInformationTest, TheEngineIsGivenWhatWasChosenAndTheRestAsItWas)
{
    const auto chosen =
        MakeEmptyPlatform(MakeChoices(MakeValue("Material", "Zäh &amp; hart") + MakeValue("LayerHeight", "0.2") +
                                      MakeValue("Nozzle", "0.6") + MakeValue("Plate", "Riffelblech &lt;ß&gt;")));
    EXPECT_TRUE(chosen.GetParts().empty());
    ASSERT_TRUE(chosen.GetMachine());
    EXPECT_EQ(chosen.GetMachine()->values.GetText(L"machine.material"), L"Zäh & hart");
    EXPECT_EQ(chosen.GetMachine()->values.GetText(L"machine.nozzleDiameter"), L"0.6");
    EXPECT_EQ(chosen.GetAMXProperties().GetText(Own::LayerHeight), L"0.2");
    EXPECT_EQ(chosen.GetAMXProperties().GetText(Own::Plate), L"Riffelblech <ß>");
    const std::string chosenFile = Build(chosen);
    for (const char* line : {"\n; layer_height = 0.2\n", "\n; temperature = 250\n", "\n; bed_temperature = 85\n",
                             "\n; nozzle_diameter = 0.6\n", "\n; filament_density = 1.5\n"})
        EXPECT_NE(chosenFile.find(line), std::string::npos) << line;

    // What is empty was not chosen.
    const std::string defaultFile =
        Build(MakeEmptyPlatform(MakeChoices(MakeValue("Material", "PLA") + MakeValue("Plate", ""))));
    for (const char* line : {"\n; layer_height = 0.3\n", "\n; temperature = 210\n", "\n; bed_temperature = 60\n",
                             "\n; nozzle_diameter = 0.4\n"})
        EXPECT_NE(defaultFile.find(line), std::string::npos) << line;
}

TEST_F(PlatformInformationTest, ThePlateOfAResinPrinterChangesItsFirstExposure)
{
    const auto& shipped = BuildProcessor::GetShippedProfiles();
    const auto lumen = std::find_if(shipped.begin(), shipped.end(),
                                    [](const auto& i_file) { return i_file.first == "lumen-8k.json"; });
    ASSERT_NE(lumen, shipped.end());
    const auto profile = BuildProcessor::ReadProfile(lumen->second, lumen->first).profile;
    const std::pair<std::string, double> rows[] = {
        {MakeValue("Material", "Tough resin") + MakeValue("Plate", "Magnetic steel"), 1.4 * 32},
        {MakeValue("Material", "Tough resin") + MakeValue("Plate", "Sandblasted aluminium"), 32},
        {MakeValue("Material", "Standard resin"), 28},
    };
    for (const auto& [values, exposure] : rows) {
        const auto chosen = BuildProcessor::SettleJobSettings(
            profile, dir / "data" / "machines",
            MakeEmptyPlatform(MakeChoices(values), boost::uuids::to_string(profile.id)));
        EXPECT_DOUBLE_EQ(chosen.profile.GetFirstExposureTime(), exposure) << values;
    }
}

TEST_F(PlatformInformationTest, RefusesWhatItDidNotOfferInASentenceThatNamesIt)
{
    const std::string material = MakeValue("Material", "PLA");
    const std::string large(2'000'000, 'x');
    const std::pair<std::string, const char*> rows[] = {
        {"", "The printer 'Test printer' needs a value of BuildProcessor.Material; it has 'PLA', 'Zäh & hart'."},
        {MakeChoices(MakeValue("Material", "")), "needs a value of BuildProcessor.Material"},
        {MakeChoices(MakeValue("LayerHeight", "0.2")), "needs a value of BuildProcessor.Material"},
        {MakeChoices(MakeValue("Material", "Weiß")),
         "does not offer the value 'Weiß' of BuildProcessor.Material; it has 'PLA', 'Zäh & hart'."},
        {MakeChoices(material + MakeValue("LayerHeight", "0.20")), "the value '0.20' of BuildProcessor.LayerHeight"},
        {MakeChoices(material + MakeValue("Farbe", "rot")),
         "does not offer the choice 'BuildProcessor.Farbe'; it has BuildProcessor.Material, "
         "BuildProcessor.LayerHeight, BuildProcessor.Nozzle, BuildProcessor.Plate."},
        {MakeChoices(material + material), "more than one value of 'BuildProcessor.Material'"},
        {MakeChoices(material + "<ParameterValue>1</ParameterValue>"), "does not offer the choice ''"},
        {"<PlatformCreationParameters/>", "is not PlatformCreationParameters of https://"},
        {Replaced(MakeChoices(material), "2014", "2015"), "is not PlatformCreationParameters of https://"},
        {"<Other xmlns=\"https://www.vexlor.example/BuildProcessor/2014\"/>", "is not PlatformCreationParameters"},
        {MakeChoices(material).substr(0, 120), "cannot be read: Line 1"},
        {"<!DOCTYPE a>" + MakeChoices(material), "cannot be read"},
        {MakeChoices("<ParameterValue id=\"\xff\">1</ParameterValue>"), "cannot be read"},
        {MakeChoices(MakeValue("Material", large)), "larger than 1000000 bytes"},
        {"no XML", "cannot be read"},
    };
    for (const auto& [parameters, text] : rows) {
        const auto failure = GetFailure([&, &chosen = parameters] { GetMachine().GetEmptyPlatform(chosen).get(); });
        EXPECT_EQ(failure.code, ErrorCode::FileError) << text;
        EXPECT_THAT(failure.text, HasSubstr(text));
        EXPECT_LT(failure.text.size(), 400U);
        EXPECT_TRUE(fs::is_empty(dir / "temp")) << text;
    }
}

TEST_F(PlatformInformationTest, DefaultsAreThoseOfTheSettingsAndProgressAndStopReachTheWork)
{
    const auto profile = BuildProcessor::ReadProfile(MakeChoosableProfile(), "test.json").profile;
    EXPECT_THAT(GetMachine().GetPlatformInformation().get().xml, HasSubstr(R"(id="PLA" name="PLA" isDefault="true")"));
    BuildProcessor::WriteMachineSettings(dir / "data" / "machines", profile, {0.2, "Zäh & hart", {4, 3}});

    auto future = GetMachine().GetPlatformInformation();
    const PlatformInfo info = future.get();
    EXPECT_EQ(future.GetProgress(), 100);
    EXPECT_THAT(info.xml, HasSubstr(R"(name="Zäh &amp; hart" isDefault="true")"));
    EXPECT_THAT(info.xml, HasSubstr(R"(id="0.2" name="0.2 mm" isDefault="true")"));
    EXPECT_THAT(info.xml, Not(HasSubstr(R"(name="PLA" isDefault)")));
    EXPECT_EQ(info.message, "");

    // Settings that the profile no longer has are told, not fatal; damaged ones are.
    BuildProcessor::WriteMachineSettings(dir / "data" / "machines", profile, {0.15, "PLA", {4, 3}});
    EXPECT_THAT(GetMachine().GetPlatformInformation().get().message, HasSubstr("0.15 mm"));
    WriteFile(BuildProcessor::GetSettingsPath(dir / "data" / "machines", profile), "{");
    EXPECT_EQ(GetFailure([&] { GetMachine().GetPlatformInformation().get(); }).code, ErrorCode::FileError);

    std::stop_source stop;
    const fs::path settings = dir / "absent";
    const auto request = [&](int i_percent) {
        if (i_percent >= 40)
            stop.request_stop();
    };
    EXPECT_EQ(GetFailure([&] {
                  BuildProcessor::MakePlatformInformation({profile, settings, stop.get_token(), request});
              }).code,
              ErrorCode::ProcessingAborted);
    EXPECT_TRUE(fs::is_empty(dir / "temp"));
}
