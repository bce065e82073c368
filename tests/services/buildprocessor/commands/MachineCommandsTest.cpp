#include "services/ServiceFixture.h"

#include "buildprocessor/geometry/PlacementCheck.h"
#include "buildprocessor/machines/QueueStates.h"
#include "buildprocessor/platform/PropertyNames.h"
#include "tavam/PropertyNames.h"

#include <gmock/gmock.h>

#include <QImage>
#include <QString>

#include <boost/uuid/uuid_io.hpp>

using namespace MachineService;

namespace {

using namespace Testing;
using BuildProcessor::QueueState;
using ::testing::AllOf;
using ::testing::HasSubstr;
namespace Names = TavAM::PropertyNames::Print3D;
namespace Own = BuildProcessor::PropertyName;
namespace fs = std::filesystem;

/// Two layer heights, two materials, strategies that mean something.
std::string MakeRichProfile()
{
    std::string profile = Replaced(MakeProfile(), "\"layerHeights\": [0.3]", "\"layerHeights\": [0.3, 0.2, 0.1]");
    profile = Replaced(profile, "\"bedTemperature\": 60}]",
                       "\"bedTemperature\": 60}, {\"name\": \"Heavy\", \"density\": 2.5, \"diameter\": 1.75, "
                       "\"nozzleTemperature\": 250}]");
    return Replaced(profile, R"([{"id": "s1", "name": "Solid", "role": "part"}])",
                    R"([{"id": "std", "name": "Standard", "role": "part", "engine": {"fill_density": "0%"}},
                        {"id": "fine", "name": "Fine", "role": "part", "engine": {"layer_height": 0.1, "fill_density": "0%"}},
                        {"id": "solid", "name": "Solid", "role": "part",
                         "engine": {"fill_density": "100%", "fill_pattern": "rectilinear"}}])");
}

class MachineCommandsTest : public ServiceTest
{
protected:
    void Start(const std::string& i_profile = MakeRichProfile(), std::map<std::string, std::string> i_settings = {})
    {
        ServiceTest::Start(i_profile, std::move(i_settings));
        catalog->ConnectMachineUpdated([&](const auto& i_id, MachineChanges i_changes) {
            news.Add(boost::uuids::to_string(i_id) + ' ' + std::to_string(static_cast<int>(i_changes)));
        });
    }

    Journal<std::string> news;
};

using RealMachineCommandsTest = WithEngine<MachineCommandsTest>;

} // namespace

TEST_F(MachineCommandsTest, OffersEveryKindWithItsFormatAndOwnOnesWithIcons)
{
    Start();
    const auto commands = GetMachine().GetCommands().get();
    std::vector<std::pair<int, int>> offered;
    for (const auto& command : commands) {
        offered.emplace_back(static_cast<int>(command.type), static_cast<int>(command.dataFormat));
        const bool isOwn =
            command.type == CommandType::Additional || command.type == CommandType::AdditionalForPlatform;
        const QImage icon = QImage::fromData(command.icon.data(), static_cast<int>(command.icon.size()));
        EXPECT_EQ(icon.size(), isOwn ? QSize(32, 32) : QSize(0, 0)) << command.name;
        EXPECT_EQ(std::count_if(commands.begin(), commands.end(),
                                [&](const auto& i_other) { return i_other.id == command.id; }),
                  1);
        EXPECT_TRUE(GetMachine().CanRunCommand(command.id).get()) << command.name;
    }
    EXPECT_EQ(offered,
              (std::vector<std::pair<int, int>>{{1, 1}, {2, 3}, {3, 3}, {4, 4}, {7, 3}, {8, 2}, {0, 6}, {6, 3}}));
    EXPECT_EQ(Find(CommandType::ConfigurePrinter).name, "Configure Printer");
}

TEST_F(MachineCommandsTest, AStateSetAtRunTimeRefusesCommandsAndIsNewsOfTheStateAlone)
{
    Start();
    const Machine machine = GetMachine();
    const auto platform = MakePlatform({MakeCube(L"cube", 20)});
    const std::pair<QueueState, ErrorCode> states[] = {{QueueState::Paused, ErrorCode::QueuePaused},
                                                       {QueueState::Error, ErrorCode::QueueError},
                                                       {QueueState::Offline, ErrorCode::QueueOffline}};
    const auto expectNews = [&] {
        return news.WaitFor([&](const auto& i_all) { return i_all == std::vector<std::string>{TestId + " 2"}; }) &&
               news.Take().size() == 1;
    };
    for (const auto& [state, code] : states) {
        BuildProcessor::SetQueueState(profiles, machine.GetMachineData().id, state);
        ASSERT_TRUE(expectNews());
        for (const auto& command : machine.GetCommands().get()) {
            const bool looksOnly = command.type == CommandType::ConfigurePrinter ||
                                   command.type == CommandType::Additional ||
                                   command.type == CommandType::AdditionalForPlatform;
            EXPECT_EQ(machine.CanRunCommand(command.id).get(), looksOnly) << command.name;
            if (!looksOnly) {
                EXPECT_EQ(Fail(command.type, platform).code, code) << command.name;
            }
        }
        EXPECT_THAT(Run(CommandType::AdditionalForPlatform, platform).message, HasSubstr("none collide"));
    }
    // A damaged state counts as none: the profile's own comes back.
    WriteFile(profiles / (TestId + ".queue"), "asleep");
    ASSERT_TRUE(expectNews());
    EXPECT_TRUE(machine.CanRunCommand(Find(CommandType::Build).id).get());
    BuildProcessor::SetQueueState(profiles, machine.GetMachineData().id, QueueState::Paused);
    ASSERT_TRUE(expectNews());
    BuildProcessor::SetQueueState(profiles, machine.GetMachineData().id, std::nullopt);
    ASSERT_TRUE(expectNews());
    EXPECT_TRUE(machine.CanRunCommand(Find(CommandType::Build).id).get());
}

TEST_F(RealMachineCommandsTest, StrategiesAreKeptInTheSceneAndShapeWhatTheEngineMakes)
{
    Start();
    const auto platform = MakePlatform({MakeCube(L"new", 10), MakeCube(L"fine", 30, L"fine"),
                                        MakeCube(L"solid", 50, L"solid"), MakeCube(L"lost", 70, L"gone")});
    const auto assigned = Run(CommandType::ConfigureParts, platform);
    EXPECT_THAT(assigned.message,
                AllOf(HasSubstr("assigned: 1, kept: 2, replaced: 1."), HasSubstr("'lost'"), HasSubstr("'gone'")));
    const auto configured = ReadOutput();
    const wchar_t* const expected[] = {L"std", L"fine", L"solid", L"std"};
    for (std::size_t index = 0; index < 4; ++index)
        EXPECT_EQ(configured.GetParts()[index].GetStrategies()->at(L"part"), expected[index]);

    // The engine is told the same when the parts were never configured.
    EXPECT_THAT(Run(CommandType::Build, platform).message, HasSubstr("'gone'"));
    const auto built = ReadOutput();
    const auto& parts = built.GetParts();
    EXPECT_EQ(GetNumber(parts[0], Names::LayerCount), 20);
    EXPECT_EQ(GetNumber(parts[1], Names::LayerCount), 58); // 0.3 first, then 0.1
    EXPECT_GT(GetNumber(parts[2], Names::MaterialGrams), 1.3 * GetNumber(parts[0], Names::MaterialGrams));
    EXPECT_NEAR(GetNumber(parts[3], Names::MaterialGrams), GetNumber(parts[0], Names::MaterialGrams), 0.02);
    EXPECT_EQ(parts[3].GetStrategies()->at(L"part"), L"std");
}

TEST_F(RealMachineCommandsTest, PlatformSettingsAreChosenAmongThePrintersAndUsedByTheEngine)
{
    Start();
    auto platform = MakePlatform({MakeCube(L"a", 20), MakeCube(L"b", 60, L"solid")});
    Run(CommandType::ConfigurePlatform, platform);
    EXPECT_EQ(GetText(ReadOutput(), Own::LayerHeight), L"0.3");
    EXPECT_EQ(GetText(ReadOutput(), Own::Material), L"PLA");
    platform.GetAMXProperties().SetText(Own::LayerHeight, L"0.2");
    platform.GetAMXProperties().SetText(Own::Material, L"Gold");
    EXPECT_THAT(Run(CommandType::ConfigurePlatform, platform).message,
                AllOf(HasSubstr("0.2 mm in 'PLA'"), HasSubstr("'Gold'")));
    EXPECT_EQ(GetText(ReadOutput(), Own::LayerHeight), L"0.2");

    Run(CommandType::ConsumptionEstimations, platform);
    const auto light = ReadOutput();
    EXPECT_EQ(GetNumber(light, Names::LayerCount), 30);
    EXPECT_GT(GetNumber(light, Names::PrintTimeSeconds), 60);
    const double ofParts =
        GetNumber(light.GetParts()[0], Names::MaterialGrams) + GetNumber(light.GetParts()[1], Names::MaterialGrams);
    EXPECT_NEAR(ofParts, GetNumber(light, Names::MaterialGrams), 0.05 * ofParts);
    EXPECT_FALSE(light.GetAMXProperties().Has(Names::MachineFile));
    EXPECT_FALSE(fs::exists(dir / "data" / "jobs"));

    platform.GetAMXProperties().SetText(Own::Material, L"Heavy");
    Run(CommandType::ConsumptionEstimations, platform);
    EXPECT_NEAR(GetNumber(ReadOutput(), Names::MaterialGrams), 2 * GetNumber(light, Names::MaterialGrams), 0.05);
    EXPECT_EQ(GetText(ReadOutput(), Own::Material), L"Heavy");
}

TEST_F(RealMachineCommandsTest, ConfiguringThePrinterWritesSettingsThatPlatformsThenHave)
{
    Start();
    const auto file = dir / "data" / "machines" / (TestId + ".json");
    const auto empty = MakePlatform({});
    Run(CommandType::ConfigurePrinter, empty);
    EXPECT_EQ(GetText(ReadOutput(), Own::QueueState), L"running");
    EXPECT_EQ(GetText(ReadOutput(), Own::SettingsFile), QString::fromStdString(file.string()).toStdWString());
    EXPECT_THAT(QString::fromStdWString(GetText(ReadOutput(), Own::Engine)).toStdString(), ::testing::StartsWith("2."));
    struct stat info = {};
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    EXPECT_THAT(ReadFile(file), AllOf(HasSubstr("\"layerHeight\": 0.3"), HasSubstr("\"material\": \"PLA\""),
                                      HasSubstr("\"clearance\": 3")));

    WriteFile(file, R"({"layerHeight": 0.1, "material": "Gold", "clearance": 9})");
    EXPECT_THAT(Run(CommandType::ConfigurePlatform, empty).message,
                AllOf(HasSubstr("layers of 0.1 mm in 'PLA'"), HasSubstr("'Gold'")));
    Run(CommandType::ConfigurePrinter, empty);
    EXPECT_THAT(ReadFile(file), AllOf(HasSubstr("\"layerHeight\": 0.1"), HasSubstr("\"material\": \"PLA\""),
                                      HasSubstr("\"clearance\": 9"), HasSubstr("\"wallClearance\": 9")));

    for (const char* const damage : {"{", "[]", R"({"layerHeight": "x"})", R"({"colour": 1})"}) {
        WriteFile(file, damage);
        const auto failure = Fail(CommandType::ConfigurePlatform, empty);
        EXPECT_EQ(failure.code, ErrorCode::FileError);
        EXPECT_THAT(failure.text, HasSubstr(file.string()));
    }
}

TEST_F(MachineCommandsTest, AConnectionIsTestedAtTheFolderOfJobs)
{
    const std::string profile = Replaced(MakeRichProfile(), "\"Test printer\"", "\"../../printer\"");
    Start(Replaced(profile, "\"queueState\"", "\"configuresConnection\": true, \"queueState\""));
    EXPECT_EQ(Find(CommandType::ConfigurePrinter).name, "Configure Connection");
    Run(CommandType::ConfigurePrinter, MakePlatform({}));
    const fs::path jobs = QString::fromStdWString(GetText(ReadOutput(), Own::JobFolder)).toStdString();
    EXPECT_EQ(GetText(ReadOutput(), Own::Connection), L"tested");
    EXPECT_EQ(jobs.parent_path(), dir / "data" / "jobs");
    EXPECT_TRUE(fs::is_empty(jobs));

    fs::remove_all(dir / "data" / "jobs");
    WriteFile(dir / "data" / "jobs", "not a folder");
    const auto failure = Fail(CommandType::ConfigurePrinter, MakePlatform({}));
    EXPECT_EQ(failure.code, ErrorCode::FileError);
    EXPECT_THAT(failure.text, HasSubstr((dir / "data" / "jobs").string()));
}

TEST_F(MachineCommandsTest, PlacesPartsThatThenPassTheCheckOrNamesThem)
{
    Start();
    auto platform = MakePlatform({MakeCube(L"a", 20), MakeCube(L"b", 20), MakeCube(L"c", 500)});
    const auto refused = Fail(CommandType::AdditionalForPlatform, platform);
    EXPECT_EQ(refused.code, ErrorCode::FileError);
    EXPECT_THAT(refused.text,
                AllOf(HasSubstr("'c' leaves the bed by 415 mm"), HasSubstr("in one another's way: 'a', 'b'")));

    EXPECT_THAT(Run(CommandType::AutomaticPlacement, platform).message, HasSubstr("3 parts were placed"));
    const auto placed = ReadOutput();
    BuildProcessor::Bed bed;
    bed.outline = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    BuildProcessor::PlacementRules rules;
    rules.clearances = {3, 0};
    EXPECT_TRUE(BuildProcessor::FindPlacementFaults(placed, bed, 50, rules, {}).empty());
    EXPECT_EQ(placed.GetParts()[2].GetRevisionId(), platform.GetParts()[2].GetRevisionId());
    Run(CommandType::AdditionalForPlatform, placed);
    EXPECT_EQ(GetText(ReadOutput(), Own::Check), L"passed");

    platform.GetParts().push_back(MakePart(L"plank", ToRepresentation(MakeBox(0, 0, 0, 150, 5, 5))));
    const auto failure = Fail(CommandType::AutomaticPlacement, platform);
    EXPECT_EQ(failure.code, ErrorCode::FileError);
    EXPECT_THAT(failure.text, HasSubstr("nothing was moved: 'plank'."));
}

TEST_F(MachineCommandsTest, ReportsAreMadeOfTheSceneDescription)
{
    Start();
    auto parameters = MakeParameters(MakePlatform({}), CommandType::Additional);
    parameters.inputFile = dir / "scene.xml";
    WriteFile(parameters.inputFile, R"(<?xml version="1.0"?><HostScene><Platform name="../a/&lt;b&gt;"><Properties>
        <Property name="BuildProcessor.Material">Heavy</Property></Properties><Parts/></Platform></HostScene>)");
    EXPECT_EQ(GetMachine().RunCommand(parameters).get().dataFormat, DataFormat::Document);
    std::vector<fs::path> files(fs::directory_iterator(dir / "output"), fs::directory_iterator());
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].extension(), ".html");
    EXPECT_THAT(ReadFile(files[0]), AllOf(HasSubstr("<title>Build report: ../a/&lt;b&gt;</title>"),
                                          HasSubstr("<bdi>Test printer</bdi>"), HasSubstr("<bdi>Heavy</bdi>, 2.50 g")));

    fs::remove(files[0]);
    WriteFile(parameters.inputFile, "<HostScene><Platform>");
    const auto failure = GetFailure([&] { GetMachine().RunCommand(parameters).get(); });
    EXPECT_EQ(failure.code, ErrorCode::FileError);
    EXPECT_THAT(failure.text, HasSubstr("scene.xml"));
    EXPECT_TRUE(fs::is_empty(dir / "output"));
}

TEST_F(RealMachineCommandsTest, ReportPropertiesHoldPrinterAndFigures)
{
    Start();
    const auto fill = [&](const TavAM::Platform& i_platform) {
        const auto result = GetMachine().FillReportProperties(MakeParameters(i_platform)).get();
        EXPECT_EQ(result.dataFormat, DataFormat::Platform);
        return ReadOutput();
    };
    const auto filled = fill(MakePlatform({MakeCube(L"a", 20)}));
    EXPECT_EQ(GetText(filled, Own::Printer), L"Test printer");
    EXPECT_EQ(GetText(filled, Own::PartCount), L"1");
    EXPECT_NEAR(GetNumber(filled, Own::PartVolume), 1.35, 1e-3);
    EXPECT_EQ(GetNumber(filled, Names::LayerCount), 20);
    EXPECT_GT(GetNumber(filled.GetParts()[0], Names::MaterialGrams), 0.3);
    EXPECT_FALSE(fs::exists(dir / "data" / "jobs"));
    const auto empty = fill(MakePlatform({}));
    EXPECT_EQ(GetText(empty, Own::PartCount), L"0");
    EXPECT_EQ(GetText(empty, Own::LayerHeight), L"0.3");
    EXPECT_FALSE(empty.GetAMXProperties().Has(Names::LayerCount));
}

TEST_F(MachineCommandsTest, CommandsThatDoNotSliceDoNotWaitForThoseThatDoAndBothCanBeStopped)
{
    const auto engine = dir / "engine.sh";
    WriteFile(engine, "#!/bin/sh\necho '10 => Processing triangulated mesh'\nexec sleep 600\n");
    ASSERT_EQ(chmod(engine.c_str(), 0700), 0);
    Start(MakeRichProfile(), {{"engine.path", engine.string()}});
    auto parameters = MakeParameters(MakePlatform({MakeCube(L"a", 20)}), CommandType::ConsumptionEstimations);
    std::stop_source stop;
    parameters.stopToken = stop.get_token();
    auto slicing = GetMachine().RunCommand(parameters);
    ASSERT_TRUE(progress.WaitFor([](const auto& i_steps) { return !i_steps.empty() && i_steps.back().first > 10; }));

    auto placing = parameters;
    placing.commandId = Find(CommandType::AutomaticPlacement).id;
    EXPECT_EQ(GetMachine().RunCommand(placing).get().dataFormat, DataFormat::Placement);

    const auto start = std::chrono::steady_clock::now();
    stop.request_stop();
    EXPECT_EQ(GetFailure([&] { slicing.get(); }).code, ErrorCode::ProcessingAborted);
    EXPECT_EQ(GetFailure([&] { GetMachine().RunCommand(placing).get(); }).code, ErrorCode::ProcessingAborted);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(fs::is_empty(dir / "temp"));
}
