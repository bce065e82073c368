#include "services/ServiceFixture.h"

#include "tavam/PropertyNames.h"

#include <QString>

#include <boost/uuid/uuid_io.hpp>

#include <cmath>
#include <sstream>
#include <thread>

using namespace MachineService;

namespace {

using namespace Testing;
namespace Names = TavAM::PropertyNames::Print3D;
namespace fs = std::filesystem;

/// False also for a process that nobody has waited for yet.
bool IsAlive(pid_t i_process)
{
    const std::string state = ReadFile("/proc/" + std::to_string(i_process) + "/stat");
    return !state.empty() && state.find(") Z ") == std::string::npos;
}

class BuildTest : public ServiceTest
{
protected:
    /// \param i_engine lines of a shell script in the engine's place.
    void StartWith(const std::string& i_engine, const std::string& i_profile = MakeProfile())
    {
        WriteFile(dir / "engine.sh",
                  "#!/bin/sh\nwhile [ \"$1\" != --output ]; do shift; done\noutput=$2\n" + i_engine + '\n');
        chmod((dir / "engine.sh").c_str(), 0700);
        Start(i_profile, {{"engine.path", (dir / "engine.sh").string()}});
    }

    std::string GetMachineFile() const
    {
        return QString::fromStdWString(GetText(ReadOutput(), Names::MachineFile)).toStdString();
    }

    CommandParameters MakeCube() { return MakeParameters(MakePlatform({Testing::MakeCube(L"cube", 20)})); }
};

using RealBuildTest = WithEngine<BuildTest>;

TEST_F(RealBuildTest, EachPartHasItsEstimatesAndTogetherTheyAreTheWhole)
{
    Start();
    // One part from two bodies, one of them deep inside and moved.
    auto member = TavAM::Representation::FromMembers({ToRepresentation(MakeBox(0, 0, 0, 10, 10, 3))});
    member.SetPlacement(TavAM::Transform::Translation(20, 0, 0));
    auto composed = MakePart(
        L"composed", TavAM::Representation::FromMembers({ToRepresentation(MakeBox(0, 0, 0, 10, 10, 6)), member}));
    composed.SetPlacement(TavAM::Transform::Translation(5, 5, 0));
    const auto plain = MakePart(L"plain", ToRepresentation(MakeBox(60, 60, 0, 10, 10, 3)));
    GetMachine().RunCommand(MakeParameters(MakePlatform({composed, plain}))).get();
    EXPECT_TRUE(progress.WaitFor([](const auto& i_all) {
        return std::any_of(i_all.begin(), i_all.end(),
                           [](const auto& i_step) { return i_step.second == "Infilling layers"; });
    }));

    const auto platform = ReadOutput();
    ASSERT_EQ(platform.GetParts().size(), 2U);
    EXPECT_EQ(GetNumber(platform, Names::LayerCount), 20);
    EXPECT_EQ(GetNumber(platform.GetParts()[0], Names::LayerCount), 20);
    EXPECT_EQ(GetNumber(platform.GetParts()[1], Names::LayerCount), 10);
    EXPECT_GT(GetNumber(platform, Names::PrintTimeSeconds), 60);
    const double length = GetNumber(platform, Names::MaterialMillimetres);
    const double volume = GetNumber(platform, Names::MaterialCubicCentimetres);
    EXPECT_NEAR(volume, length * M_PI * 1.75 * 1.75 / 4 / 1000, 0.002);
    EXPECT_NEAR(GetNumber(platform, Names::MaterialGrams), volume * 1.25, 0.02);
    const double ofComposed = GetNumber(platform.GetParts()[0], Names::MaterialMillimetres);
    const double ofPlain = GetNumber(platform.GetParts()[1], Names::MaterialMillimetres);
    EXPECT_NEAR(ofComposed + ofPlain, length, length * 0.02);
    // The plain part is one body of the composed one; the other body is twice as high, its inside not solid.
    EXPECT_GT(ofComposed, 2.2 * ofPlain);
    EXPECT_LT(ofComposed, 3 * ofPlain);
}

TEST_F(RealBuildTest, AMachineFileIsItsUsersAloneUnderTheJobsNameWhateverTheNamesSay)
{
    Start();
    // Its name tries to break out of a comment.
    auto parameters = MakeParameters(
        MakePlatform({MakePart(L"id:7 copy 0\nM104 S400 <ä>", ToRepresentation(MakeBox(60, 60, 0, 10, 10, 3)))}));
    parameters.jobName = "../bracket";
    for (const char* const expected : {"_bracket", "_bracket (2)"}) {
        GetMachine().RunCommand(parameters).get();
        const fs::path file = GetMachineFile();
        EXPECT_EQ(file.parent_path().filename(), expected);
        EXPECT_EQ(file.parent_path().parent_path().parent_path(), dir / "data" / "jobs");
        EXPECT_EQ(file.filename(), "_bracket.gcode");
        const std::string gcode = ReadFile(file);
        EXPECT_EQ(gcode.find("\nM104 S400"), std::string::npos);
        EXPECT_NE(gcode.find("; estimated printing time"), std::string::npos);
        EXPECT_EQ(ReadFile(dir / "output" / "_bracket.gcode"), gcode) << "for hosts elsewhere";
        struct stat info = {};
        ASSERT_EQ(stat(file.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777, 0600U);
    }
}

TEST_F(RealBuildTest, ResinAndEveryShippedPrinterBuild)
{
    Start();
    const auto one = ToRepresentation(MakeBox(20, 20, 0, 10, 10, 1));
    const auto two = ToRepresentation(MakeBox(60, 60, 0, 10, 10, 0.5F));
    Run(CommandType::Build, MakePlatform({MakePart(L"one", one), MakePart(L"two", two)}), ResinId);
    const auto resin = ReadOutput();
    EXPECT_EQ(GetNumber(resin, Names::LayerCount), 20);
    EXPECT_NEAR(GetNumber(resin, Names::MaterialCubicCentimetres), 0.15, 0.01);
    EXPECT_NEAR(GetNumber(resin, Names::MaterialGrams), 0.15 * 1.12, 0.02);
    EXPECT_GT(GetNumber(resin, Names::PrintTimeSeconds), 20 * 2.5);
    EXPECT_FALSE(resin.GetParts()[0].GetAMXProperties().Has(Names::LayerCount));
    EXPECT_TRUE(resin.GetAMXProperties().GetText(Names::MachineFile)->ends_with(L".sl1"));

    for (const Machine& machine : catalog->GetMachines()) {
        const auto data = machine.GetMachineData();
        const auto& volume = data.buildVolume.value();
        if (data.driverId == "buildprocessor.sla")
            continue;
        // At the left edge of the bed, where only the shape of the bed decides.
        const auto x = static_cast<float>(volume.minX + (volume.isCircular ? 1 : 0));
        const auto y = static_cast<float>((volume.minY + volume.maxY) / 2);
        const auto box = ToRepresentation(MakeBox(x, y, 0, 10, 10, 1.2F));
        Run(CommandType::Build, MakePlatform({MakePart(L"one", box)}), boost::uuids::to_string(data.id));
        EXPECT_GE(GetNumber(ReadOutput(), Names::LayerCount), 4) << data.name;
        EXPECT_GT(GetNumber(ReadOutput().GetParts()[0], Names::MaterialGrams), 0.05) << data.name;
    }
}

TEST_F(RealBuildTest, DamagedMeshIsMendedKeptAndTold)
{
    Start();
    auto mesh = MakeBox(20, 20, 0, 10, 10, 6);
    mesh.triangles.erase(mesh.triangles.begin() + 4);
    const auto result =
        Run(CommandType::ConsumptionEstimations, MakePlatform({MakePart(L"bracket", ToRepresentation(mesh))}));
    EXPECT_EQ(GetText(ReadOutput(), Names::Notes), L"The mesh of 'bracket' had 1 hole; it was closed.");
    EXPECT_NE(result.message.find("The mesh of 'bracket' had 1 hole; it was closed."), std::string::npos)
        << result.message;
    const auto platform = ReadOutput();
    EXPECT_EQ(GetNumber(platform, Names::LayerCount), 20);
    EXPECT_EQ(platform.GetParts()[0].GetRepresentation().GetMesh()->triangles.size(), 12U);
}

TEST_F(BuildTest, InputThatCannotBeBuiltIsRefusedWithItsReason)
{
    StartWith("echo must not run; exit 3");
    const auto box = [](float i_x) {
        return ToRepresentation(MakeBox(i_x, 0, 0, 10, 10, 10));
    };
    const std::pair<std::vector<TavAM::Part>, std::string> rows[] = {
        {{}, "There is no part on the platform."},
        {{MakePart(L"far", box(95)), MakePart(L"in", box(0)), MakePart(L"off", box(-9))},
         "These parts leave the build volume of 'Test printer': 'far', 'off'. Move, turn or scale them."},
        {{MakePart(L"a", box(0)), MakePart(L"free", box(40)), MakePart(L"b", box(5))},
         "These parts are in one another's way: 'a', 'b'. Move them apart."},
        {{MakePart(L"sheet", ToRepresentation(MakeBox(0, 0, 0, 10, 10, 0)))},
         "The mesh of 'sheet' encloses no volume: it is flat; give it a thickness."},
        {{MakePart(L"soft", TavAM::Representation::FromImplicit("f(x)"))},
         "These parts are not meshes, or not altogether, and cannot be built: 'soft'."},
    };
    for (const auto& [parts, text] : rows) {
        const auto failure = Fail(MakeParameters(MakePlatform(parts)));
        EXPECT_EQ(failure.code, ErrorCode::FileError);
        EXPECT_EQ(failure.text, text);
    }
    auto parameters = MakeCube();
    WriteFile(parameters.inputFile, ReadFile(parameters.inputFile).substr(0, 300));
    const auto truncated = Fail(parameters);
    EXPECT_EQ(truncated.code, ErrorCode::FileError);
    EXPECT_NE(truncated.text.find("input.TavAMX"), std::string::npos) << truncated.text;
}

TEST_F(BuildTest, EngineThatFailsLeavesOneSentenceAndNothingElse)
{
    const std::string done = "echo \"Slicing result exported to x\"";
    const std::pair<std::string, std::string> rows[] = {
        {"echo 'No space left on device' >&2; echo half > $output; exit 1",
         "The slicing engine failed with status 1: No space left on device"},
        {"kill -KILL $$", "The slicing engine was ended by signal 9."},
        {"head -c 100000 /dev/urandom; exit 7", "The slicing engine failed with status 7"},
        {"exit 0", "The slicing engine ended without a machine file."},
        {done, "The slicing engine ended without a machine file: Slicing result exported to x"},
        {"echo ';LAYER_CHANGE' > $output", "The slicing engine ended without a machine file."},
        {"head -c 100000 /dev/urandom > $output; " + done, "The slicing engine's machine file is not usable: "},
        {": > $output; " + done, "The slicing engine's machine file is not usable: it holds no layer."},
        {"echo ';LAYER_CHANGE' > $output; " + done,
         "The slicing engine's machine file is not usable: its time and material are missing."},
        {"printf ';LAYER_CHANGE\\nG1 X50 Y50\\nG1 X300 Y5 E3\\n' > $output; " + done,
         "The slicing engine's machine file is not usable: it extrudes beside the bed, in layer 1; move"},
        {"sleep 1000 & sleep 1000", "The slicing engine did not finish within 1 seconds and was ended."},
    };
    for (const auto& [script, text] : rows) {
        StartWith(script, Replaced(MakeProfile(), "60", "1"));
        const auto failure = Fail(MakeCube());
        EXPECT_EQ(failure.code, ErrorCode::InternalError) << script;
        EXPECT_TRUE(failure.text.starts_with(text)) << script << '\n' << failure.text;
        EXPECT_LT(failure.text.size(), 600U);
    }
    // Its input is good: the next command works as soon as the engine does.
    if (IsEngineInstalled()) {
        Start();
        EXPECT_TRUE(GetMachine().RunCommand(MakeCube()).get().completed);
    }
}

TEST_F(RealBuildTest, PartsThatCannotBePrintedAreNamedWithWhatHelps)
{
    Start();
    TavAM::Mesh onTip;
    onTip.vertices = {{50, 50, 0}, {60, 60, 10}, {40, 60, 10}, {40, 40, 10}, {60, 40, 10}};
    onTip.triangles = {{0, 2, 1}, {0, 3, 2}, {0, 4, 3}, {0, 1, 4}, {1, 2, 3}, {1, 3, 4}};
    const std::pair<TavAM::Mesh, std::string> rows[] = {
        {MakeBox(20, 50, 0, 0.1F, 20, 10), "Nothing can be printed of these parts, which are too thin or too small"},
        {MakeBox(20, 50, 0, 20, 20, 0.1F), "These parts are lower than half a layer of 0.3 mm"},
        {onTip, "These parts touch the plate in a point or an edge"},
    };
    for (const auto& [mesh, text] : rows) {
        const auto failure = Fail(MakeParameters(MakePlatform({MakePart(L"odd / ä", ToRepresentation(mesh))})));
        EXPECT_EQ(failure.code, ErrorCode::FileError);
        EXPECT_TRUE(failure.text.starts_with(text)) << failure.text;
        EXPECT_NE(failure.text.find("'odd / ä'. Turn them"), std::string::npos) << failure.text;
    }
}

TEST_F(RealBuildTest, EveryFlavourEndsWithHeatersAndSteppersOffWhateverTheProfileDoes)
{
    const std::string own = R"("end_gcode": "M104 S180 ; [layer_z]\nM140 S50\nM17", )";
    for (const char* const flavour :
         {"reprap", "reprapfirmware", "repetier", "teacup", "marlin", "marlin2", "smoothie", "makerware", "sailfish"}) {
        Start(
            Replaced(MakeProfile(), R"("perimeters")", own + R"("gcode_flavor": ")" + flavour + R"(", "perimeters")"));
        GetMachine().RunCommand(MakeCube()).get();
        const std::string gcode = ReadFile(GetMachineFile());
        const std::size_t last = gcode.rfind("\nM17\n");
        ASSERT_NE(last, std::string::npos) << flavour;
        const bool hasTool = flavour == std::string("makerware") || flavour == std::string("sailfish");
        for (const std::string command :
             {hasTool ? "M104 S0 T0 " : "M104 S0 ", hasTool ? "M140 S0 T0\n" : "M140 S0\n", hasTool ? "M18 " : "M84 "})
            EXPECT_NE(gcode.find('\n' + command, last), std::string::npos) << flavour << ' ' << command;
    }
}

TEST_F(RealBuildTest, TheEngineRunsOnceForEachDistinctPlatform)
{
    const auto runs = dir / "runs";
    const auto cache = dir / "cache";
    const auto writeEngine = [&](const std::string& i_comment) {
        WriteFile(dir / "engine.sh", "#!/bin/sh\ncase \"$*\" in *--dont-arrange*) echo run >> " + runs.string() +
                                         ";; esac\nexec prusa-slicer \"$@\" # " + i_comment + '\n');
        chmod((dir / "engine.sh").c_str(), 0700);
    };
    writeEngine("first");
    ServiceTest::Start(MakeProfile(), {{"engine.path", (dir / "engine.sh").string()}, {"cache.path", cache.string()}});
    auto platform = MakePlatform({Testing::MakeCube(L"cube", 20), Testing::MakeCube(L"other", 50)});
    const auto countRuns = [&] {
        return ReadFile(runs).size() / 4;
    };
    Run(CommandType::ConsumptionEstimations, platform);
    const auto estimated = ReadOutput();
    EXPECT_EQ(countRuns(), 1U);
    GetMachine().FillReportProperties(MakeParameters(platform)).get();
    Run(CommandType::Build, platform);
    const auto built = ReadOutput();
    EXPECT_EQ(countRuns(), 1U);
    EXPECT_EQ(GetText(built, Names::PrintTimeSeconds), GetText(estimated, Names::PrintTimeSeconds));
    EXPECT_EQ(GetText(built.GetParts()[1], Names::MaterialGrams),
              GetText(estimated.GetParts()[1], Names::MaterialGrams));
    EXPECT_NE(ReadFile(GetMachineFile()).find("\nM84 "), std::string::npos);

    // A damaged machine file is never handed out, and neither are damaged estimates.
    for (const char* const extension : {".file", ".entry"}) {
        for (const auto& entry : fs::directory_iterator(cache)) {
            if (entry.path().extension() == extension)
                WriteFile(entry.path(), Replaced(ReadFile(entry.path()), "0", "1"));
        }
        const std::size_t before = countRuns();
        Run(CommandType::Build, platform);
        EXPECT_EQ(countRuns(), before + 1) << extension;
        EXPECT_NE(ReadFile(GetMachineFile()).find("\nM84 "), std::string::npos) << extension;
    }
    // Another engine, another place, another strategy, another machine's settings: another result.
    const std::size_t before = countRuns();
    writeEngine("second");
    Run(CommandType::Build, platform);
    platform.GetParts()[0].SetPlacement(TavAM::Transform::Translation(0, 1, 0));
    Run(CommandType::Build, platform);
    platform.GetParts()[0].SetName(L"renamed");
    Run(CommandType::Build, platform);
    EXPECT_EQ(countRuns(), before + 3);
}

TEST_F(BuildTest, MissingEngineAndBlockedJobFolderSayWhatToDo)
{
    Start();
    const auto parameters = MakeCube();
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nowhere");
    const auto missing = Fail(parameters);
    qputenv("PATH", path);
    EXPECT_EQ(missing.code, ErrorCode::InternalError);
    EXPECT_NE(missing.text.find("install the package prusa-slicer"), std::string::npos) << missing.text;
    if (!IsEngineInstalled())
        return;
    const fs::path jobs = dir / "data" / "jobs";
    WriteFile(jobs, "a file where the folder should be");
    const auto blocked = Fail(parameters);
    EXPECT_EQ(blocked.code, ErrorCode::FileError);
    EXPECT_NE(blocked.text.find(jobs.string()), std::string::npos) << blocked.text;
    fs::remove(jobs);
    auto noOutput = parameters;
    noOutput.outputDir = dir / "missing";
    EXPECT_EQ(Fail(noOutput).code, ErrorCode::FileError);
}

TEST_F(BuildTest, CancellingEndsTheEngineAndItsChildrenWithinASecond)
{
    // Deaf to SIGTERM, with a child of its own; tells its number so that its end can be seen.
    StartWith("trap '' TERM; sleep 1000 & echo $$ $! > " + (dir / "pid").string() +
              "; echo '55 => Infilling layers'; wait");
    std::stop_source stop;
    auto parameters = MakeCube();
    parameters.stopToken = stop.get_token();
    auto running = GetMachine().RunCommand(parameters);
    auto waiting = GetMachine().RunCommand(parameters);
    ASSERT_TRUE(progress.WaitFor(
        [](const auto& i_all) { return !i_all.empty() && i_all.back().second == "Infilling layers"; }));
    std::istringstream numbers(ReadFile(dir / "pid"));
    pid_t engine = 0;
    pid_t child = 0;
    numbers >> engine >> child;
    ASSERT_TRUE(IsAlive(engine) && IsAlive(child));
    const auto begin = std::chrono::steady_clock::now();
    stop.request_stop();
    EXPECT_EQ(GetFailure([&] { waiting.get(); }).code, ErrorCode::ProcessingAborted);
    EXPECT_EQ(GetFailure([&] { running.get(); }).code, ErrorCode::ProcessingAborted);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    // Killed already; the system takes a moment to end a process.
    while ((IsAlive(engine) || IsAlive(child)) && std::chrono::steady_clock::now() - begin < std::chrono::seconds(5))
        std::this_thread::yield();
    EXPECT_FALSE(IsAlive(engine) || IsAlive(child));
    EXPECT_TRUE(fs::is_empty(dir / "temp"));
    EXPECT_FALSE(fs::exists(dir / "data" / "jobs"));
}

TEST_F(BuildTest, CatalogGoesDownWhileJobsRunAndMachinesOutliveIt)
{
    StartWith("echo '55 => Infilling layers'; sleep 1000");
    const auto parameters = MakeCube();
    const Machine machine = GetMachine();
    auto running = machine.RunCommand(parameters);
    auto waiting = machine.RunCommand(parameters);
    ASSERT_TRUE(progress.WaitFor(
        [](const auto& i_all) { return !i_all.empty() && i_all.back().second == "Infilling layers"; }));
    const auto begin = std::chrono::steady_clock::now();
    catalog.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(GetFailure([&] { running.get(); }).code, ErrorCode::ProcessingAborted);
    EXPECT_EQ(GetFailure([&] { waiting.get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_EQ(GetFailure([&] { machine.RunCommand(parameters).get(); }).code, ErrorCode::ServicesUnavailable);
    EXPECT_TRUE(fs::is_empty(dir / "temp"));
}

} // namespace
